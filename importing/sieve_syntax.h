// Sieve scripts as trees of commands and tests (RFC 5228, section 8.2).
#ifndef QUARROW_IMPORTING_SIEVE_SYNTAX_H_
#define QUARROW_IMPORTING_SIEVE_SYNTAX_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Quarrow::Importing {

// A string of a script, without its escapes and with them.
struct SieveText {
  std::string text;
  std::string raw;
};

struct SieveArgument {
  enum class Kind { tag, number, texts };
  Kind kind = Kind::tag;
  std::string tag;               // in small letters, without the colon
  std::uint64_t number = 0;      // in bytes
  std::vector<SieveText> texts;  // one, or a list
};

// A command or a test: both are a name, arguments and tests; a command may have a block as well.
struct SieveNode {
  std::size_t line = 0;
  std::string name;     // in small letters
  std::string comment;  // before it, a line each, without the marks
  std::vector<SieveArgument> arguments;
  std::vector<SieveNode> tests;
  std::vector<SieveNode> block;
  std::string block_comment;           // between the tests and the block
  std::size_t block_comment_line = 0;  // of the block's brace
};

// Why and where a text is no script.
struct SieveFault {
  std::size_t line = 0;
  std::string reason;
};

// Reads the commands of a script. Whether they exist, and what they take, is not looked at. `fault`
// is set where nothing is given: for wrong syntax, and for blocks, tests or commands in numbers
// that no script needs.
std::optional<std::vector<SieveNode>> parse_sieve(const std::string& script, SieveFault& fault);

// The same for a text that is one test, whose first line is the line `line`.
std::optional<SieveNode> parse_sieve_test(const std::string& text, std::size_t line);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_SIEVE_SYNTAX_H_
