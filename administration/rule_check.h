// Says in words why a filter's name, a test or an action can't be taken.
#ifndef QUARROW_ADMINISTRATION_RULE_CHECK_H_
#define QUARROW_ADMINISTRATION_RULE_CHECK_H_

#include <quarrow/user_stores.h>

#include <string>

#include "apps/quarrow/complaint.h"

namespace Quarrow::Administration {

// Checks a filter's name: not empty, UTF-8, no control characters (a line feed would leave the
// script's comment).
Command::Fault name_fault(const std::string& name);

// Checks a test: words, texts, what would compile but never work as meant, and at last with the
// Sieve compiler.
Command::Fault test_fault(MessageFilters::UserMessageFilters__& rules,
                          const MessageFilters::Test& test);

// Checks an action, its folder's characters among it: they stand in the script's quotes as they
// are.
Command::Fault action_fault(const MessageFilters::Action& action);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULE_CHECK_H_
