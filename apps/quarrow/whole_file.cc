// Reading a file to its end, and replacing one in one step.
#include "apps/quarrow/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/regular_file.h"

namespace Quarrow::Command {
namespace {

Fault fault_of(int error) { return {reason_for_no_file(error), file_status(error)}; }

// Whether there is something at `path` that is not to be replaced by a file.
bool is_other_than_file(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

}  // namespace

Fault fault_of_file() { return fault_of(errno); }

Fault write_file(const std::string& path, const std::string& text) {
  return write_file(
      path, [&text](int fd) { return write_all(fd, text); });
}

Fault write_file(const std::string& path, const std::function<bool(int)>& write) {
  if (is_other_than_file(path)) return fault_of(EINVAL);
  std::string draft = path + ".XXXXXX";
  const Descriptor file(mkostemp(draft.data(), O_CLOEXEC));
  if (file.get() < 0) return fault_of(errno);
  // the file has all of it, be the power cut the next moment
  if (write(file.get()) && fsync(file.get()) == 0 && rename(draft.c_str(), path.c_str()) == 0)
    return {};
  const int error = errno;
  (void)unlink(draft.c_str());  // what is left of it harms nobody
  return fault_of(error);
}

int open_input(const std::string& path) {
  return path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                     : open(path.c_str(), O_RDONLY | O_CLOEXEC);
}

Fault read_file(const std::string& path, std::size_t limit, std::string& text) {
  const Descriptor file(open_input(path));
  if (file.get() < 0) return fault_of(errno);
  ssize_t count = 1;
  while (count > 0 && text.size() <= limit) count = append_from(file.get(), text);
  return count < 0 ? fault_of(errno) : Fault();
}

}  // namespace Quarrow::Command
