// A change of a user's rules, made or only told.
#ifndef QUARROW_ADMINISTRATION_RULES_CHANGE_H_
#define QUARROW_ADMINISTRATION_RULES_CHANGE_H_

#include <functional>

#include "administration/guarded_process.h"
#include "administration/rules_transaction.h"

namespace Quarrow::Administration {

// How a change is made.
struct ChangeMode {
  CommitConsent consent;
  bool dry_run = false;  // the change is checked as ever, and told instead of committed
};

// Has `edit` change the opened rules, and commits them unless it refuses. The answer is that of
// `edit`; in a dry run, what changes of the rules, a line each.
GuardedOutcome change_rules(RulesTransaction& rules, const ChangeMode& mode,
                            const std::function<GuardedOutcome(RulesTransaction&)>& edit);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_CHANGE_H_
