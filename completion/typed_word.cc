// Quotes and backslashes (POSIX.1-2017, Shell Command Language, 2.2).
#include "completion/typed_word.h"

namespace Quarrow::Completion {
namespace {

// In double quotes, a backslash quotes these alone.
bool is_special_in_quotes(char c) { return std::string("$`\"\\").find(c) != std::string::npos; }

bool is_special(char c) {
  return std::string(" \t!\"#$&'()*,;<>?[\\]^`{|}~").find(c) != std::string::npos;
}

std::string typed_character(char quote, char c) {
  if (quote == '\'') return c == '\'' ? R"('\'')" : std::string(1, c);
  if (quote == '"' && c == '!') return R"("\!")";  // an interactive shell reads it in these, too
  const bool needs_backslash = quote == '"' ? is_special_in_quotes(c) : is_special(c);
  return needs_backslash ? std::string{'\\', c} : std::string(1, c);
}

}  // namespace

TypedWord read_typed(const std::string& word) {
  TypedWord read;
  for (std::size_t i = 0; i < word.size(); ++i) {
    const char c = word[i];
    const bool is_last = i + 1 == word.size();
    if (read.quote == '\0' && (c == '\'' || c == '"')) {
      read.quote = c;
    } else if (c == read.quote) {
      read.quote = '\0';
    } else if (c != '\\' || read.quote == '\'') {
      read.text += c;
    } else if (is_last) {
      read.ended = false;
    } else {
      if (read.quote == '"' && !is_special_in_quotes(word[i + 1])) read.text += c;
      read.text += word[++i];
    }
  }
  return read;
}

std::string typed_in(char quote, const std::string& text) {
  std::string typed;
  for (const char c : text) typed += typed_character(quote, c);
  return typed;
}

}  // namespace Quarrow::Completion
