// Says in words why a filter's name, a test or an action can't be taken.
#ifndef APPS_QUARROW_RULE_CHECK_H_
#define APPS_QUARROW_RULE_CHECK_H_

#include <quarrow/user_stores.h>

#include <string>

#include "apps/quarrow/report.h"

namespace command {

// Checks a filter's name: not empty, UTF-8, no control characters (a line feed would leave the
// script's comment).
Fault name_fault(const std::string& name);

// Checks a test: words, texts, what would compile but never work as meant, and at last with the
// Sieve compiler.
Fault test_fault(Quarrow::MessageFilters::UserMessageFilters__& rules,
                 const Quarrow::MessageFilters::Test& test);

// Checks an action, its folder's characters among it: they stand in the script's quotes as they
// are.
Fault action_fault(const Quarrow::MessageFilters::Action& action);

}  // namespace command

#endif  // APPS_QUARROW_RULE_CHECK_H_
