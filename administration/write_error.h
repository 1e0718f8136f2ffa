// Why writing failed, where a library does not tell: found out by trying the same once more.
#ifndef QUARROW_ADMINISTRATION_WRITE_ERROR_H_
#define QUARROW_ADMINISTRATION_WRITE_ERROR_H_

#include <cstddef>
#include <string>

namespace Quarrow::Administration {

// Opens the file `path` for writing, and makes it when it is missing. 0, or the errno.
int error_of_opening(const std::string& path);

// Writes `size` bytes to a file in `folder` that is gone at once. 0, or the errno.
int error_of_writing(const std::string& folder, std::size_t size);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_WRITE_ERROR_H_
