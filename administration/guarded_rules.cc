// A transaction in a guarded process.
#include "administration/guarded_rules.h"

namespace Quarrow::Administration {

GuardedOutcome with_rules_of(const EmailAddress& address,
                             const std::function<GuardedOutcome(RulesTransaction&)>& work,
                             std::chrono::milliseconds patience) {
  return run_guarded(
      rules_document(address.address()),
      [&]() -> GuardedOutcome {
        RulesTransaction rules(address, patience);
        if (const Refusal refusal = rules.open()) return {refusal, ""};
        GuardedOutcome outcome = work(rules);
        outcome.remark = rules.remark();
        return outcome;
      });
}

}  // namespace Quarrow::Administration
