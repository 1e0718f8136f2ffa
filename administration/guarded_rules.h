// Work on a user's rules that a damaged rules document can't end.
#ifndef QUARROW_ADMINISTRATION_GUARDED_RULES_H_
#define QUARROW_ADMINISTRATION_GUARDED_RULES_H_

#include <chrono>
#include <functional>

#include "administration/guarded_process.h"
#include "administration/rules_transaction.h"

namespace Quarrow::Administration {

// Opens the rules of the user `address`, which is not null, in a process of their own, and gives
// what comes of `work` there, or of opening them. Where this process is root's, that one takes on
// the rights of the owner of the user's folder. `patience` is with other transactions of the user.
GuardedOutcome with_rules_of(const EmailAddress& address,
                             const std::function<GuardedOutcome(RulesTransaction&)>& work,
                             std::chrono::milliseconds patience = lock_patience);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_GUARDED_RULES_H_
