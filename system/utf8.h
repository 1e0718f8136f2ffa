// Texts that others chose: whether they are UTF-8.
#ifndef QUARROW_SYSTEM_UTF8_H_
#define QUARROW_SYSTEM_UTF8_H_

#include <string>

namespace Quarrow {

// Whether `text` is UTF-8 (RFC 3629).
bool is_utf8(const std::string& text);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_UTF8_H_
