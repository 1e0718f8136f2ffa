// Tokens, values and lines.
#include "http/characters.h"

#include <algorithm>

#include "system/printable.h"

namespace Quarrow::Http {
namespace {

constexpr std::string_view token_characters =
    "!#$%&'*+-.^_`|~0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

}  // namespace

bool is_token(std::string_view text) {
  return !text.empty() && text.find_first_not_of(token_characters) == std::string_view::npos;
}

bool is_header_value(std::string_view text) {
  return std::none_of(
      text.begin(), text.end(), [](char c) { return is_control(c) && c != '\t'; });
}

bool may_follow(char last, char c) {
  if (last == '\r') return c == '\n';
  return !is_control(c) || c == '\t' || c == '\r';
}

}  // namespace Quarrow::Http
