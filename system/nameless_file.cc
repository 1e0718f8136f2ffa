// Files that never had a name, or lose it at once.
#include "system/nameless_file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace Quarrow {

// Not every file system knows O_TMPFILE (open(2)).
int nameless_file_in(const std::string& folder) {
  const int fd = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd >= 0 || (errno != EOPNOTSUPP && errno != EISDIR)) return fd;
  std::string name = folder + "/quarrow-XXXXXX";
  const int named = mkostemp(name.data(), O_CLOEXEC);
  if (named >= 0) (void)unlink(name.c_str());
  return named;
}

int nameless_file_in_memory() { return memfd_create("quarrow", MFD_CLOEXEC); }

}  // namespace Quarrow
