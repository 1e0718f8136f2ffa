// Words of a shell's command line as they are typed, with their quotes.
#ifndef QUARROW_COMPLETION_TYPED_WORD_H_
#define QUARROW_COMPLETION_TYPED_WORD_H_

#include <string>

namespace Quarrow::Completion {

// A word as far as it is typed.
struct TypedWord {
  std::string text;   // what it stands for; variables and tildes stand for themselves
  char quote = '\0';  // the one that is open at its end: ' or "
  bool ended = true;  // false: a backslash at its end, which is not in `text`, waits for more
};

// Reads a word of a bash or zsh command line.
TypedWord read_typed(const std::string& word);

// `text` as it is typed in bash within that quote; '\0' for none.
std::string typed_in(char quote, const std::string& text);

}  // namespace Quarrow::Completion

#endif  // QUARROW_COMPLETION_TYPED_WORD_H_
