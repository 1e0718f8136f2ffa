// Texts that others chose, made fit for a terminal and for a shell.
#ifndef APPS_QUARROW_PRINTABLE_H_
#define APPS_QUARROW_PRINTABLE_H_

#include <string>

namespace command {

// `text` on one line that no terminal obeys: control characters as \t, \n, \r or \xHH, a backslash
// doubled.
std::string printable(const std::string& text);

// `text` as one word of a bash command line: bare where that is safe, else in quotes; on one line
// in any case.
std::string shell_quoted(const std::string& text);

// `text` with `substitute` for each control character, where no escapes are understood.
std::string with_controls_as(char substitute, std::string text);

// Whether `text` holds a control character (codes below 32, and 127).
bool has_control_characters(const std::string& text);

}  // namespace command

#endif  // APPS_QUARROW_PRINTABLE_H_
