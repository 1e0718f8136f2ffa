// open(2) for names that others may have put something behind.
#include "system/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Quarrow {
namespace {

constexpr int careful_flags = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

// Network file systems say ESTALE for a file that was replaced just now; the next look finds the
// new one.
constexpr int most_looks = 3;

int open_at(int folder, const std::string& name, int flags, mode_t mode) {
  int fd = -1;
  for (int look = 0; look < most_looks; ++look) {
    fd = openat(folder, name.c_str(), flags | careful_flags, mode);
    if (fd >= 0 || errno != ESTALE) return fd;
  }
  return fd;
}

// 0 for a regular file, and otherwise the errno that tells what `fd` is.
int error_for_kind(int fd) {
  struct stat status {};
  if (fstat(fd, &status) != 0) return errno;
  if (S_ISREG(status.st_mode)) return 0;
  return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
}

}  // namespace

int open_regular_at(int folder, const std::string& name, int flags, mode_t mode) {
  const int fd = open_at(folder, name, flags, mode);
  if (fd < 0) {
    if (errno == ENXIO) errno = EINVAL;  // a socket, or a fifo that nobody reads
    return -1;
  }
  const int error = error_for_kind(fd);
  if (error == 0) return fd;
  (void)close(fd);
  errno = error;
  return -1;
}

int open_regular(const std::string& path, int flags, mode_t mode) {
  return open_regular_at(AT_FDCWD, path, flags, mode);
}

std::string reason_for_no_file(int error) {
  if (error == ELOOP) return "Is a symbolic link";
  if (error == EINVAL) return "Is not a regular file";
  return std::strerror(error);
}

}  // namespace Quarrow
