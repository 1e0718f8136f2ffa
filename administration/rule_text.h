// The texts of --if and --then: how a test and an action are written on a command line.
//
//   [not] [case] TYPE FIELD COMPARATOR VALUE        not address from is boss@example.org
//   move FOLDER | copy FOLDER | delete              move Lists/News
//
// VALUE and FOLDER are the rest of the text after one blank, with all blanks in it.
#ifndef QUARROW_ADMINISTRATION_RULE_TEXT_H_
#define QUARROW_ADMINISTRATION_RULE_TEXT_H_

#include <quarrow/rule_model.h>

#include <string>

namespace Quarrow::Administration {

// Takes the text of a test apart. Empty when all parts are there, else what is missing, with `test`
// unchanged. Whether the words are known is not looked at: see rule_check.h.
std::string read_test(const std::string& text, MessageFilters::Test& test);

// Takes the text of an action apart, likewise.
std::string read_action(const std::string& text, MessageFilters::Action& action);

// The text that read_test takes for `test`.
std::string test_text(const MessageFilters::Test& test);

// The text that read_action takes for `action`.
std::string action_text(const MessageFilters::Action& action);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULE_TEXT_H_
