// Rules, tests and actions in plain English, for people to read: a list, an explanation, a page.
//
// What a user wrote stands in the sentence as it is, control characters included: a program that
// prints it escapes it first (see system/printable.h).
#ifndef QUARROW_ADMINISTRATION_RULE_SENTENCE_H_
#define QUARROW_ADMINISTRATION_RULE_SENTENCE_H_

#include <quarrow/rule_model.h>

#include <string>

namespace Quarrow::Administration {

// What `test` asks for: subject contains "quarterly", message is larger than 2 MB, received before
// 2026-01-31. The text of rule_text.h where the test is not valid.
std::string test_sentence(const MessageFilters::Test& test);

// What `action` does: move to Work/Reports, copy to Work, delete (move to Trash). The text of
// rule_text.h where the action is not valid.
std::string action_sentence(const MessageFilters::Action& action);

// The whole rule: When subject contains "quarterly" and message is larger than 2 MB: move to
// Reports. Several tests go together with "and" or "or", several actions with "and".
std::string rule_sentence(const MessageFilters::Filter__& filter);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULE_SENTENCE_H_
