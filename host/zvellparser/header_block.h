// The header block of a message, read into lines that are quick to search.
#ifndef HOST_ZVELLPARSER_HEADER_BLOCK_H_
#define HOST_ZVELLPARSER_HEADER_BLOCK_H_

#include <cstddef>
#include <string>

namespace zvellparser {

// The headers of the message at `data`, in their order, one line each: the name, ":", the value
// with one blank for each fold (RFC 5322, sections 2.2.3 and 3.2.2), without NULs and without the
// blanks around it, and "\n".
// Nothing behind the first empty line is looked at. A line that is no header is left out together
// with the lines that continue it; the headers behind it count.
std::string read_header_block(const char* data, std::size_t length);

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_HEADER_BLOCK_H_
