// Tests and actions as texts of one line, which a user can type.
//
//   [not] [case] TYPE FIELD COMPARATOR VALUE        not address from is boss@example.org
//   [not] size COMPARATOR VALUE                     size greater 500
//   move FOLDER | copy FOLDER | delete              move Lists/News
//
// VALUE and FOLDER are the rest of the text after one blank, with all blanks in it.
#ifndef QUARROW_ADMINISTRATION_RULE_TEXT_H_
#define QUARROW_ADMINISTRATION_RULE_TEXT_H_

#include <quarrow/rule_model.h>

#include <string>

#include "administration/refusal.h"

namespace Quarrow::Administration {

// Takes the text of a test apart. The refusal, whose object is the text, says what is missing;
// `test` is unchanged then. Whether the words are known is not looked at: see rule_check.h.
Refusal read_test(const std::string& text, MessageFilters::Test& test);

// Takes the text of an action apart, likewise.
Refusal read_action(const std::string& text, MessageFilters::Action& action);

// The text that read_test takes for `test`.
std::string test_text(const MessageFilters::Test& test);

// The text that read_action takes for `action`.
std::string action_text(const MessageFilters::Action& action);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULE_TEXT_H_
