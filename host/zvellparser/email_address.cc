// The rules for e-mail addresses.
#include <algorithm>
#include <string_view>

#include "zvellparser.h"

namespace {

// RFC 5321, sections 4.5.3.1.1 and 4.5.3.1.2, in octets
constexpr std::size_t longest_local_part = 64;
constexpr std::size_t longest_domain = 255;

bool is_control(char c) { return (c >= '\0' && c < ' ') || c == '\x7f'; }

// Whether `text` is a quoted string (RFC 5321, section 4.1.2): each quote inside has its backslash.
bool is_quoted(std::string_view text) {
  if (text.size() < 3 || text.front() != '"') return false;
  std::size_t i = 1;
  while (i < text.size() && text[i] != '"') i += text[i] == '\\' ? 2 : 1;
  return i == text.size() - 1;
}

bool is_local_part(std::string_view text) {
  if (text.empty() || text.size() > longest_local_part) return false;
  return is_quoted(text) || text.find_first_of(" \"(),:;<>@[\\]") == std::string_view::npos;
}

// An address literal holds colons and brackets, too (RFC 5321, section 4.1.3).
bool is_domain(std::string_view text) {
  return !text.empty() && text.size() <= longest_domain &&
         text.find_first_of(" \"(),;<>\\") == std::string_view::npos;
}

bool is_address(std::string_view text) {
  const auto at = text.rfind('@');
  if (at == std::string_view::npos || std::any_of(text.begin(), text.end(), is_control))
    return false;
  return is_local_part(text.substr(0, at)) && is_domain(text.substr(at + 1));
}

}  // namespace

EmailAddress::EmailAddress(const std::string& text) {
  if (is_address(text)) address_ = text;
}
