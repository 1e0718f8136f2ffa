// Text with or without "anything" at its ends.
#include "importing/plain_pattern.h"

#include <quarrow/rule_model.h>

#include <cctype>
#include <cstring>
#include <string_view>

#include "importing/text_front.h"

namespace Quarrow::Importing {
namespace {

using MessageFilters::Comparator;

// The pattern of a text, with anything in front of it and behind it or not. Without a text there is
// none.
std::optional<PlainPattern> pattern_of(bool open_start, bool open_end, const std::string& text) {
  if (text.empty()) return std::nullopt;
  if (open_start) return PlainPattern{open_end ? Comparator::CONTAINS : Comparator::ENDWITH, text};
  return PlainPattern{open_end ? Comparator::BEGINWITH : Comparator::IS, text};
}

// The text of a regular expression without operators; nothing for another one.
std::optional<std::string> literal_of(std::string_view pattern) {
  std::string text;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const bool is_escaped = pattern[i] == '\\';
    if (is_escaped && ++i == pattern.size()) return std::nullopt;
    const char c = pattern[i];
    const bool is_special = std::strchr("\\^.$|()[]*+?{}<>`'", c) != nullptr;
    const bool is_letter = std::isalnum(static_cast<unsigned char>(c)) != 0;
    // an escaped letter is an operator of some engines, and so is "\<"
    if (is_escaped && (is_letter || std::strchr("<>`'", c))) return std::nullopt;
    if (!is_escaped && is_special && !std::strchr("<>`'", c)) return std::nullopt;
    text += c;
  }
  return text;
}

// Whether the character at `at` has an odd number of backslashes in front of it.
bool is_escaped_at(std::string_view text, std::size_t at) {
  std::size_t count = 0;
  while (count < at && text[at - count - 1] == '\\') ++count;
  return count % 2 == 1;
}

bool take_back(std::string_view& text, std::string_view part) {
  if (text.size() < part.size() || text.substr(text.size() - part.size()) != part) return false;
  if (is_escaped_at(text, text.size() - part.size())) return false;
  text.remove_suffix(part.size());
  return true;
}

}  // namespace

std::optional<PlainPattern> wildcard_pattern(const std::string& pattern) {
  std::string text;
  bool open_start = false;
  bool open_end = false;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    char c = pattern[i];
    if (c == '?') return std::nullopt;
    if (c == '*') {
      (text.empty() ? open_start : open_end) = true;
      continue;
    }
    if (open_end) return std::nullopt;  // anything stands in the middle
    if (c == '\\' && i + 1 < pattern.size()) c = pattern[++i];
    text += c;
  }
  return pattern_of(open_start, open_end, text);
}

std::optional<PlainPattern> regex_pattern(const std::string& pattern) {
  std::string_view rest = pattern;
  bool open_start = !take_front(rest, "^");
  bool open_end = !take_back(rest, "$");
  if (take_front(rest, ".*")) open_start = true;
  if (take_back(rest, ".*")) open_end = true;
  const auto text = literal_of(rest);
  return text ? pattern_of(open_start, open_end, *text) : std::nullopt;
}

}  // namespace Quarrow::Importing
