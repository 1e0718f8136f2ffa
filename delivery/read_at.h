// Reading that a signal does not end.
#ifndef QUARROW_DELIVERY_READ_AT_H_
#define QUARROW_DELIVERY_READ_AT_H_

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <string>

namespace Quarrow {
namespace Delivery {

// pread(2), begun again when a signal interrupts it.
inline ssize_t read_at(int fd, char* data, std::size_t size, std::size_t offset) {
  for (;;) {
    const ssize_t count = pread(fd, data, size, static_cast<off_t>(offset));
    if (count >= 0 || errno != EINTR) return count;
  }
}

// Appends to `text`, which holds the file's beginning, what comes next in the file: a block at
// most. How many bytes that were; 0 at the file's end, negative as pread(2) is.
inline ssize_t append_next(int fd, std::string& text) {
  std::array<char, 16384> block;
  const ssize_t count = read_at(fd, block.data(), block.size(), text.size());
  if (count > 0) text.append(block.data(), static_cast<std::size_t>(count));
  return count;
}

}  // namespace Delivery
}  // namespace Quarrow

#endif  // QUARROW_DELIVERY_READ_AT_H_
