// Escaping of control characters, and quoting for a shell.
#include "apps/quarrow/printable.h"

#include <algorithm>

namespace command {
namespace {

bool is_control(char c) {
  const auto code = static_cast<unsigned char>(c);
  return code < 32 || code == 127;
}

std::string escaped_control(char c) {
  static const char digits[] = "0123456789abcdef";
  if (c == '\t') return "\\t";
  if (c == '\n') return "\\n";
  if (c == '\r') return "\\r";
  const auto code = static_cast<unsigned char>(c);
  return std::string("\\x") + digits[code / 16] + digits[code % 16];
}

// `text` with a backslash before each backslash and each `also`, and control characters escaped.
std::string escaped(const std::string& text, char also) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    if (is_control(c)) {
      out += escaped_control(c);
      continue;
    }
    if (c == '\\' || c == also) out += '\\';
    out += c;
  }
  return out;
}

// By list, not isalnum(): what a shell takes as it stands does not depend on the locale.
bool is_plain_word(const std::string& text) {
  static const char plain[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_./@%+=:,-";
  return !text.empty() && text.find_first_not_of(plain) == std::string::npos;
}

}  // namespace

std::string printable(const std::string& text) { return escaped(text, '\\'); }

std::string shell_quoted(const std::string& text) {
  if (is_plain_word(text)) return text;
  if (has_control_characters(text)) return "$'" + escaped(text, '\'') + "'";
  std::string out = "'";
  for (const char c : text) {
    if (c == '\'') out += "'\\'";
    out += c;
  }
  return out + "'";
}

std::string with_controls_as(char substitute, std::string text) {
  std::replace_if(text.begin(), text.end(), is_control, substitute);
  return text;
}

bool has_control_characters(const std::string& text) {
  return std::any_of(text.begin(), text.end(), is_control);
}

}  // namespace command
