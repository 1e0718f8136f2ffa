// Trials of writing.
#include "administration/write_error.h"

#include <fcntl.h>

#include <cerrno>

#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/nameless_file.h"

namespace Quarrow::Administration {

int error_of_opening(const std::string& path) {
  // O_NONBLOCK: a named pipe would wait for a reader
  const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600));
  return file.get() < 0 ? errno : 0;
}

int error_of_writing(const std::string& folder, std::size_t size) {
  const Descriptor file(nameless_file_in(folder));
  if (file.get() < 0 || !write_all(file.get(), std::string(size, 'x'))) return errno;
  return 0;
}

}  // namespace Quarrow::Administration
