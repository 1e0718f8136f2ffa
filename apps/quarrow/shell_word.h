// Texts as words of a shell's command line.
#ifndef QUARROW_APPS_QUARROW_SHELL_WORD_H_
#define QUARROW_APPS_QUARROW_SHELL_WORD_H_

#include <string>

namespace Quarrow::Command {

// `text` as one word of a bash command line: bare where that is safe, else in quotes; on one line
// in any case.
std::string shell_quoted(const std::string& text);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_SHELL_WORD_H_
