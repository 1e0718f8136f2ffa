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

// Whether the file has all of the text, be the power cut the next moment.
bool write_durably(int fd, const std::string& text) {
  return fd >= 0 && write_all(fd, text) && fsync(fd) == 0;
}

}  // namespace

Fault write_file(const std::string& path, const std::string& text) {
  if (is_other_than_file(path)) return fault_of(EINVAL);
  std::string draft = path + ".XXXXXX";
  const Descriptor file(mkostemp(draft.data(), O_CLOEXEC));
  if (file.get() < 0) return fault_of(errno);
  if (write_durably(file.get(), text) && rename(draft.c_str(), path.c_str()) == 0) return {};
  const int error = errno;
  (void)unlink(draft.c_str());  // what is left of it harms nobody
  return fault_of(error);
}

Fault read_file(const std::string& path, std::size_t limit, std::string& text) {
  const bool is_input = path == "-";
  const Descriptor file(is_input ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                 : open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) return fault_of(errno);
  ssize_t count = 1;
  while (count > 0 && text.size() <= limit) count = append_from(file.get(), text);
  return count < 0 ? fault_of(errno) : Fault();
}

}  // namespace Quarrow::Command
