// A filter that a person writes as text: in an editor, or into a file.
#ifndef QUARROW_APPS_QUARROW_FILTER_EDITING_H_
#define QUARROW_APPS_QUARROW_FILTER_EDITING_H_

#include <functional>
#include <string>

#include "administration/refusal.h"

namespace Quarrow::Command {

// What becomes of a text.
struct TextUse {
  // Takes the text apart; refuses one that is no filter. The refusal's object is the line, or a
  // part of the filter.
  std::function<Administration::Refusal(const std::string& text)> read;
  // Makes the change by the text that was read last; gives the exit status.
  std::function<int()> commit;
};

// Whether a person is there who can edit: standard input and output are terminals.
bool has_terminal();

// Has the person edit `text`, as often as they want while it is no filter, and uses what they
// wrote. Nothing happens to a text that is as it was. A text that came to nothing is kept, and
// `again` with --file is the command that takes it. Gives the exit status.
int edit_filter(const std::string& text, const TextUse& use, const std::string& again);

// Uses the text of the file at `path`, or of standard input for "-". Gives the exit status.
int take_filter_file(const std::string& path, const TextUse& use);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_FILTER_EDITING_H_
