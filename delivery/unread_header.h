// The header that an evaluation failed on.
#ifndef QUARROW_DELIVERY_UNREAD_HEADER_H_
#define QUARROW_DELIVERY_UNREAD_HEADER_H_

#include <string>

#include "system/memory_file.h"

class MimePart;

namespace Quarrow::Delivery {

// The name, as `script` writes it, of a header of `message` that an address test of the script
// looks at and that the interpreter can't read as addresses; empty when none is found. The
// interpreter does not tell: each of these headers is tried again, through `file`, for as many as
// a user is likely to name.
std::string unread_header(const std::string& script, MimePart& message, const MemoryFile& file);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_UNREAD_HEADER_H_
