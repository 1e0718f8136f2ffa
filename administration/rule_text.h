// Tests and actions as texts of one line, which a user can type.
//
//   [not] [case] FIELD COMPARATOR VALUE             subject does not contain quarterly
//   [not] [case] TYPE FIELD COMPARATOR VALUE        not string x-spam-flag is YES
//   [not] size COMPARATOR VALUE                     size over 2 MB
//   move FOLDER | copy FOLDER | delete              move Lists/News
//
// The type can be left out for the fields that every system offers, and for those of the system's
// catalogue and the user's own one, where these are at hand. There are several phrases for
// each comparator and action (see rule_words.h), in small letters or in capitals.
//
// VALUE and FOLDER are the rest of the text after one blank, with all blanks in it, or what stands
// there in double quotes, which are needed around a value or folder whose first words would be
// taken for a part of the phrase in front. In front of a folder, that is "to" and "into" in small
// letters. Behind the type "string", "is" is the whole comparator:
// `string subject is not x` compares with "not x", `subject is not x` with "x".
//
// A size may have a unit: see size_value.h.
#ifndef QUARROW_ADMINISTRATION_RULE_TEXT_H_
#define QUARROW_ADMINISTRATION_RULE_TEXT_H_

#include <quarrow/rule_model.h>

#include <list>
#include <string>

#include "administration/refusal.h"

namespace Quarrow::Administration {

// Takes the text of a test apart. The refusal, whose object is the text, says what is missing, or
// that a test is negated twice; `test` is unchanged then. Whether the words are known is not looked
// at: see rule_check.h. A type that was left out is that of the field in `catalogue`, which holds
// fields beside those that every system offers: a field with several types there is refused, as
// wrong_rule. The type is empty when it is not known.
Refusal read_test(const std::string& text, MessageFilters::Test& test,
                  const std::list<MessageFilters::Field>& catalogue = {});

// Takes the text of an action apart, likewise.
Refusal read_action(const std::string& text, MessageFilters::Action& action);

// The text with the words of the rule model that read_test takes for `test`.
std::string test_text(const MessageFilters::Test& test);

// The text with the words of the rule model that read_action takes for `action`.
std::string action_text(const MessageFilters::Action& action);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULE_TEXT_H_
