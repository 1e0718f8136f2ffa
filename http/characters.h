// Which characters HTTP allows where.
#ifndef QUARROW_HTTP_CHARACTERS_H_
#define QUARROW_HTTP_CHARACTERS_H_

#include <string_view>

namespace Quarrow::Http {

// Whether `text` is a token (RFC 9110, section 5.6.2): a method, or the name of a header or cookie.
bool is_token(std::string_view text);

// Whether `text` may be the value of a header: no control character but the tab.
bool is_header_value(std::string_view text);

// Whether `c` may come after `last` in lines that end with CR and LF and hold no other control
// character but the tab. Before the first line, `last` is LF.
bool may_follow(char last, char c);

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_CHARACTERS_H_
