// Cookies (RFC 6265).
#ifndef QUARROW_HTTP_COOKIES_H_
#define QUARROW_HTTP_COOKIES_H_

#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "http/message.h"

namespace Quarrow::Http {

// The value of the cookie `name` in a request, as it stands: quotes belong to it, and a semicolon
// within quotes ends it all the same. Nothing without such a cookie, and nothing when there are
// several: another host of the domain may have added one, and which is the right one can't be told.
std::optional<std::string> cookie_of(const Headers& headers, const std::string& name);

// The header that has a browser keep a cookie for so long, or forget it where `max_age` is 0. Only
// this host gets it back, over TLS, from its own pages, and no script sees it; a name that begins
// with "__Host-" makes sure that no other host set it. `name` is a token (RFC 9110, section 5.6.2);
// `value` has letters, digits and "-._~+/=" only. Others end the process.
std::pair<std::string, std::string> set_cookie(const std::string& name, const std::string& value,
                                               std::chrono::seconds max_age);

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_COOKIES_H_
