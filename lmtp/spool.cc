// A temporary file without a name.
#include "lmtp/spool.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>

#include "delivery/read_at.h"
#include "lmtp/limits.h"

namespace Quarrow::Lmtp {
namespace {

// Not every file system knows O_TMPFILE (open(2)).
int unnamed_file(const std::string& folder) {
  const int fd = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd >= 0 || (errno != EOPNOTSUPP && errno != EISDIR)) return fd;
  std::string name = folder + "/quarrow-XXXXXX";
  const int named = mkostemp(name.data(), O_CLOEXEC);
  if (named >= 0) (void)unlink(name.c_str());
  return named;
}

}  // namespace

bool Spool::open() {
  close();
  fd_ = unnamed_file(folder_);
  return fd_ >= 0;
}

bool Spool::add(const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(fd_, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    data += written;
    size -= static_cast<std::size_t>(written);
    size_ += static_cast<std::uint64_t>(written);
  }
  return true;
}

std::string Spool::header() const {
  std::string text;
  while (text.size() < most_header && text.find("\n\n") == text.npos)
    if (Delivery::append_next(fd_, text) <= 0) break;
  return text.substr(0, most_header);
}

void Spool::close() {
  if (fd_ >= 0) (void)::close(fd_);  // nothing in it is needed any longer
  fd_ = -1;
  size_ = 0;
}

}  // namespace Quarrow::Lmtp
