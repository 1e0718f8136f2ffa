// Escaping of control characters.
#include "system/printable.h"

#include <algorithm>

namespace Quarrow {
namespace {

std::string hexadecimal(char c) {
  static const char digits[] = "0123456789abcdef";
  const auto code = static_cast<unsigned char>(c);
  return std::string("\\x") + digits[code / 16] + digits[code % 16];
}

std::string named_control(char c) {
  if (c == '\t') return "\\t";
  if (c == '\n') return "\\n";
  if (c == '\r') return "\\r";
  return hexadecimal(c);
}

bool is_one_of(char c, std::string_view characters) {
  return characters.find(c) != std::string_view::npos;
}

}  // namespace

bool is_control(char c) {
  const auto code = static_cast<unsigned char>(c);
  return code < 32 || code == 127;
}

bool has_control_characters(std::string_view text) {
  return std::any_of(text.begin(), text.end(), is_control);
}

std::string with_controls_as(char substitute, std::string text) {
  std::replace_if(text.begin(), text.end(), is_control, substitute);
  return text;
}

std::string escaped(std::string_view text, const Escaping& how) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    if (is_control(c)) {
      out += how.named ? named_control(c) : hexadecimal(c);
    } else if (is_one_of(c, how.hidden)) {
      out += hexadecimal(c);
    } else {
      if (is_one_of(c, how.marked)) out += '\\';
      out += c;
    }
  }
  return out;
}

std::string shortened(const std::string& text, std::size_t limit) {
  static const std::string gap = "...";
  if (text.size() <= limit) return text;
  const auto continues = [&text](std::size_t at) {
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80;
  };
  const std::size_t kept = limit - gap.size();
  std::size_t head = kept * 2 / 3;
  std::size_t tail = text.size() - (kept - head);
  for (int bytes = 0; bytes < 3 && continues(head); ++bytes) --head;
  for (int bytes = 0; bytes < 3 && continues(tail); ++bytes) ++tail;
  return text.substr(0, head) + gap + text.substr(tail);
}

std::string printable(std::string_view text) { return escaped(text, {"\\", "", true}); }

}  // namespace Quarrow
