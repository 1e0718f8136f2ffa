// A message on its way to a store.
#ifndef QUARROW_DELIVERY_MESSAGE_FILE_H_
#define QUARROW_DELIVERY_MESSAGE_FILE_H_

#include <cstdint>
#include <string>

namespace Quarrow::Delivery {

// The first `size` bytes of the file `fd`, which is the caller's, and header lines that go in front
// of them. The file is read with pread(2): its position does not matter and does not change.
struct MessageFile {
  int fd = -1;
  std::uint64_t size = 0;
  std::string added_headers;  // whole lines with their ends; may be empty
};

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_MESSAGE_FILE_H_
