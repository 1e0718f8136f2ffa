// Reading that a signal does not end.
#ifndef QUARROW_DELIVERY_READ_AT_H_
#define QUARROW_DELIVERY_READ_AT_H_

#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace Quarrow {
namespace Delivery {

// pread(2), begun again when a signal interrupts it.
inline ssize_t read_at(int fd, char* data, std::size_t size, std::size_t offset) {
  for (;;) {
    const ssize_t count = pread(fd, data, size, static_cast<off_t>(offset));
    if (count >= 0 || errno != EINTR) return count;
  }
}

}  // namespace Delivery
}  // namespace Quarrow

#endif  // QUARROW_DELIVERY_READ_AT_H_
