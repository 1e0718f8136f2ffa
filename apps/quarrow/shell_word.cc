// Quoting for a shell.
#include "apps/quarrow/shell_word.h"

#include "system/printable.h"

namespace Quarrow::Command {
namespace {

// By list, not isalnum(): what a shell takes as it stands does not depend on the locale.
bool is_plain_word(const std::string& text) {
  static const char plain[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_./@%+=:,-";
  return !text.empty() && text.find_first_not_of(plain) == std::string::npos;
}

}  // namespace

std::string shell_quoted(const std::string& text) {
  if (is_plain_word(text)) return text;
  if (has_control_characters(text)) return "$'" + escaped(text, {"\\'", "", true}) + "'";
  std::string out = "'";
  for (const char c : text) {
    if (c == '\'') out += "'\\'";
    out += c;
  }
  return out + "'";
}

}  // namespace Quarrow::Command
