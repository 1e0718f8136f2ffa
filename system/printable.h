// Texts that others chose, made fit for a terminal and for a log.
#ifndef QUARROW_SYSTEM_PRINTABLE_H_
#define QUARROW_SYSTEM_PRINTABLE_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace Quarrow {

// Whether `c` is a control character: codes below 32, and 127.
bool is_control(char c);

// Whether `text` holds a control character.
bool has_control_characters(std::string_view text);

// `text` with `substitute` for each control character, where no escapes are understood.
std::string with_controls_as(char substitute, std::string text);

// Further work of escaped(), which writes control characters as \xHH.
struct Escaping {
  std::string_view marked = {};  // characters that get a backslash in front
  std::string_view hidden = {};  // characters that become \xHH as well
  bool named = false;            // tab, line feed and carriage return become \t, \n, \r
};

// `text` without a control character, which no terminal obeys and which stays on one line.
std::string escaped(std::string_view text, const Escaping& how);

// `text` for a person: control characters as \t, \n, \r or \xHH, a backslash doubled.
std::string printable(std::string_view text);

// The longest text that a person is shown of what they wrote, in bytes.
constexpr std::size_t shown_bytes = 200;

// `text` itself, or its start and its end with "..." between, `limit` bytes at most. UTF-8 is cut
// between characters. `limit` is 16 at least.
std::string shortened(const std::string& text, std::size_t limit = shown_bytes);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_PRINTABLE_H_
