// Percent-encoding (RFC 3986), and what has no place in a path of ours.
#include "http/target.h"

#include <algorithm>
#include <string_view>

#include "system/printable.h"
#include "system/utf8.h"

namespace Quarrow::Http {
namespace {

// What a path may hold as it stands; a query also holds slashes and question marks.
constexpr std::string_view plain_characters =
    "-._~!$&'()*+,;=:@0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// The value of a hexadecimal digit; -1 for others.
int digit_of(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The character of the code that stands at `at`: "%41" is an A. Nothing for a broken code.
std::optional<char> character_at(std::string_view text, std::size_t at) {
  if (at + 3 > text.size()) return std::nullopt;
  const int high = digit_of(text[at + 1]);
  const int low = digit_of(text[at + 2]);
  if (high < 0 || low < 0) return std::nullopt;
  return static_cast<char>(high * 16 + low);
}

// Decodes codes once. Nothing for a character that is neither plain nor among `further`, and for
// what is no text after it.
std::optional<std::string> decoded(std::string_view text, std::string_view further) {
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (c == '%') {
      const auto character = character_at(text, at);
      if (!character) return std::nullopt;
      out += *character;
      at += 2;
    } else if (plain_characters.find(c) != std::string_view::npos ||
               further.find(c) != std::string_view::npos) {
      out += c;
    } else {
      return std::nullopt;
    }
  }
  if (has_control_characters(out) || !is_utf8(out)) return std::nullopt;
  return out;
}

// The part of `text` before the first `separator`, which is taken away with it.
std::string_view take_part(std::string_view& text, char separator) {
  const std::size_t end = std::min(text.find(separator), text.size());
  const std::string_view part = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return part;
}

// A segment may become the name of a file or of a user: no other path is to come of it.
bool is_harmless(const std::string& segment) {
  return segment != "." && segment != ".." && segment.find_first_of("/\\") == std::string::npos;
}

// `path` is without its first slash.
bool read_path(std::string_view path, Target& target) {
  const bool is_folder = !path.empty() && path.back() == '/';
  while (!path.empty()) {
    const auto segment = decoded(take_part(path, '/'), "");
    if (!segment || segment->empty() || !is_harmless(*segment)) return false;
    target.segments.push_back(*segment);
  }
  if (is_folder) target.segments.emplace_back();
  return true;
}

bool read_query(std::string_view query, Target& target) {
  while (!query.empty()) {
    std::string parameter(take_part(query, '&'));
    if (parameter.empty()) continue;
    std::replace(parameter.begin(), parameter.end(), '+', ' ');
    std::string_view rest = parameter;
    const auto name = decoded(take_part(rest, '='), " /?");
    const auto value = decoded(rest, " /?");
    if (!name || !value) return false;
    target.parameters.emplace_back(*name, *value);
  }
  return true;
}

}  // namespace

std::optional<Target> parse_target(const std::string& text) {
  // A blank is a plus sign in what read_query() decodes.
  if (text.empty() || text[0] != '/' || text.find(' ') != std::string::npos) return std::nullopt;
  std::string_view rest = std::string_view(text).substr(1);
  const std::string_view path = take_part(rest, '?');
  Target target;
  if (!read_path(path, target) || !read_query(rest, target)) return std::nullopt;
  return target;
}

}  // namespace Quarrow::Http
