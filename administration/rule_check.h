// Says in words why a user's name, a filter's name, a test or an action can't be taken.
//
// The object of a refusal is the part that is wrong, by its name in JSON (see rules_json.h).
#ifndef QUARROW_ADMINISTRATION_RULE_CHECK_H_
#define QUARROW_ADMINISTRATION_RULE_CHECK_H_

#include <quarrow/rule_model.h>

#include <cstddef>
#include <list>
#include <string>

#include "administration/refusal.h"
#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Administration {

// Checks that a user's name is a mail address. The refusal's object is the name.
Refusal check_user(const std::string& user);

// Checks a filter's name: not empty, UTF-8, no control characters (a line feed would leave the
// script's comment).
Refusal check_name(const std::string& name);

// Checks the word for how a filter's tests go together.
Refusal check_relation(const std::string& relation);

// Checks how many tests and actions a filter has. A filter without tests would be stored and never
// run.
Refusal check_counts(std::size_t tests, std::size_t actions);

// Checks the words of a test, and whether they go together: what Test::is_valid looks at.
Refusal check_words(const MessageFilters::Test& test);

// The same for an action: what Action::is_valid looks at.
Refusal check_words(const MessageFilters::Action& action);

// Checks a test: words, texts, what would compile but never work as meant, and at last with the
// Sieve compiler. Leaves no file, and needs none.
Refusal check_test(const MessageFilters::Test& test);

// The same without the compiler, for many tests that have been compiled.
Refusal check_sense(const MessageFilters::Test& test);

// Checks an action, its folder's characters among it: they stand in the script's quotes as they
// are. `dots` is what delivery does with folders with a dot in the name.
Refusal check_action(const MessageFilters::Action& action, Delivery::FolderDots dots);

// What a user may not expect of these actions together, for a person; empty when there is nothing.
std::string remark_on(const std::list<MessageFilters::Action>& actions);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULE_CHECK_H_
