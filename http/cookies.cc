// Cookies, from and to browsers.
#include "http/cookies.h"

#include <algorithm>
#include <cassert>
#include <string_view>

#include "http/characters.h"

namespace Quarrow::Http {
namespace {

constexpr std::string_view value_characters =
    "-._~+/=0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

std::string_view trimmed(std::string_view text) {
  const std::size_t start = std::min(text.find_first_not_of(" \t"), text.size());
  text.remove_prefix(start);
  return text.substr(0, text.find_last_not_of(" \t") + 1);
}

// Calls `take` with the name and the value of each cookie of a header.
template <typename Take>
void for_each_cookie(std::string_view header, const Take& take) {
  while (!header.empty()) {
    const std::size_t end = std::min(header.find(';'), header.size());
    const std::string_view cookie = header.substr(0, end);
    const std::size_t equals = cookie.find('=');
    if (equals != std::string_view::npos)
      take(trimmed(cookie.substr(0, equals)), trimmed(cookie.substr(equals + 1)));
    header.remove_prefix(std::min(end + 1, header.size()));
  }
}

}  // namespace

std::optional<std::string> cookie_of(const Headers& headers, const std::string& name) {
  std::optional<std::string> found;
  unsigned count = 0;
  for (const auto& header : headers) {
    if (header.first != "cookie") continue;
    for_each_cookie(header.second, [&](std::string_view each, std::string_view value) {
      if (each != name) return;
      found = std::string(value);
      ++count;
    });
  }
  return count == 1 ? found : std::nullopt;
}

std::pair<std::string, std::string> set_cookie(const std::string& name, const std::string& value,
                                               std::chrono::seconds max_age) {
  assert(is_token(name));
  assert(value.find_first_not_of(value_characters) == std::string::npos);
  return {"set-cookie", name + '=' + value + "; Max-Age=" + std::to_string(max_age.count()) +
                            "; Path=/; HttpOnly; Secure; SameSite=Strict"};
}

}  // namespace Quarrow::Http
