// The words of a Sieve script (RFC 5228, section 8.1).
#ifndef QUARROW_IMPORTING_SIEVE_TOKENS_H_
#define QUARROW_IMPORTING_SIEVE_TOKENS_H_

#include <cstddef>
#include <cstdint>
#include <string>

namespace Quarrow::Importing {

struct SieveToken {
  // fault: what is no token; its text says why. end: of the script.
  enum class Kind { word, tag, number, text, punctuation, fault, end };
  Kind kind = Kind::end;
  std::size_t line = 0;      // from 1
  std::string text;          // a word or tag in small letters, or a text without escapes
  std::string raw;           // a quoted text as it stands
  std::uint64_t number = 0;  // in bytes, where a K, M or G stands behind it
  std::string comment;       // the comments before it, a line each, without their marks
};

// Reads a script token by token.
class SieveTokens {
 public:
  // `script` outlives the object. Lines are counted from `line` on.
  explicit SieveTokens(const std::string& script, std::size_t line = 1)
      : script_(script), line_(line) {}

  // The next token; from the end or a fault on, that one.
  SieveToken next();

 private:
  SieveToken token();
  SieveToken quoted();
  SieveToken multi_line();
  SieveToken number();
  SieveToken word();
  bool skip_blanks_and_comments();
  void take_comment(std::size_t start, std::size_t end);
  bool is_multi_line() const;
  char at(std::size_t place) const { return place < script_.size() ? script_[place] : '\0'; }

  const std::string& script_;
  std::size_t place_ = 0;
  std::size_t line_;
  std::string comment_;
};

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_SIEVE_TOKENS_H_
