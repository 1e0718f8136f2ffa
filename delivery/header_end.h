// Where the header of a message ends.
#ifndef QUARROW_DELIVERY_HEADER_END_H_
#define QUARROW_DELIVERY_HEADER_END_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Quarrow::Delivery {

// The header block of `message`, up to the end of the line before its first empty line, which may
// end with LF or CRLF; all of it when there is no empty line.
std::string_view header_of(std::string_view message);

// Reads the file `fd` from its start, wherever its position is, until the header block is whole:
// gives it and the rest of the last block that was read, `most` bytes at most. Nothing, with errno
// set, when the file can't be read.
std::optional<std::string> read_header(int fd, std::size_t most = std::string::npos);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_HEADER_END_H_
