// The forms in which the result of a message is printed.
#ifndef QUARROW_APPS_QUARROW_MATCH_OUTPUT_H_
#define QUARROW_APPS_QUARROW_MATCH_OUTPUT_H_

#include <string>

#include "quarrow/delivery/evaluation_outcome.h"
#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Command {

// The message's name, a tab and where the message goes with `dots`, such as "folder Work, kept",
// control characters escaped, without a line end. Where the inbox is not what the rules ask for,
// the reason stands behind a semicolon.
std::string result_line(const std::string& name, const Delivery::Evaluation& evaluation,
                        Delivery::FolderDots dots = Delivery::FolderDots::inbox);

// The same with the library's own text of the result.
std::string raw_result_line(const std::string& name, const SieveMatchResult& result);

// {"message": ..., "actions": [{"action": "fileinto", "mailbox": ...}, ...], "rule": ..., "note":
// ...}, without "rule" and "note" when they are empty, or {"message": ..., "error": ...}, on one
// line without its end. The rule is the name of the filter that decided, the note the reason that
// result_line gives. Bytes that are no UTF-8 become U+FFFD; folders are in UTF-8.
std::string result_json(const std::string& name, const Delivery::Evaluation& evaluation,
                        Delivery::FolderDots dots = Delivery::FolderDots::inbox);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_MATCH_OUTPUT_H_
