#include "sieve_match/script_check.h"

#include <strings.h>

#include <cstring>

namespace Quarrow {
namespace {

const char* const unsafe_words[] = {"envelope", "hasflag", "setflag"};

bool starts_with(const char* text, const char* word) {
  return strncasecmp(text, word, std::strlen(word)) == 0;
}

// Wherever it stands: libsieve's lexer takes a word out of the middle of a longer one.
bool starts_unsafe_word(const char* text) {
  for (const char* word : unsafe_words)
    if (starts_with(text, word)) return true;
  return false;
}

const char* end_of_line(const char* text) { return text + std::strcspn(text, "\n"); }

// The functions below take the position behind an opening mark and return the one behind the
// closing mark, or the end of the script.

const char* skip_bracketed_comment(const char* text) {
  const char* end = std::strstr(text, "*/");
  return end != nullptr ? end + 2 : text + std::strlen(text);
}

// A quote behind a backslash is part of the string, whatever stands before the backslash.
const char* skip_quoted(const char* text) {
  char previous = '\0';
  for (; *text != '\0'; previous = *text++)
    if (*text == '"' && previous != '\\') return text + 1;
  return text;
}

// A line that holds only a dot ends the block. Only a line feed begins a line, but a carriage
// return may end this one.
const char* skip_text_block(const char* text) {
  for (char previous = text[-1]; *text != '\0'; previous = *text++) {
    if (*text != '.' || previous != '\n') continue;
    if (text[1] == '\n' || text[1] == '\r') return text + 2;
  }
  return text;
}

// Behind "text:", blanks, a comment and the end of the line, which open a text block; null when
// something else follows.
const char* text_block_opened(const char* text) {
  if (!starts_with(text, "text:")) return nullptr;
  text += std::strlen("text:");
  text += std::strspn(text, " \t");
  if (*text == '#') text = end_of_line(text);
  if (text[0] == '\r' && text[1] == '\n') return text + 2;
  return *text == '\r' || *text == '\n' ? text + 1 : nullptr;
}

}  // namespace

bool has_unsafe_words(const char* script) {
  while (*script != '\0')
    if (*script == '#')
      script = end_of_line(script);
    else if (script[0] == '/' && script[1] == '*')
      script = skip_bracketed_comment(script + 2);
    else if (*script == '"')
      script = skip_quoted(script + 1);
    else if (const char* block = text_block_opened(script))
      script = skip_text_block(block);
    else if (starts_unsafe_word(script))
      return true;
    else
      ++script;
  return false;
}

}  // namespace Quarrow
