// Editing, and then a commit or an account of it.
#include "administration/rules_change.h"

#include "administration/rules_difference.h"
#include "system/printable.h"

namespace Quarrow::Administration {
namespace {

// A line each, and one that says so when nothing changes.
std::string lines(const std::vector<RulesDifference>& differences) {
  if (differences.empty()) return "nothing would change\n";
  std::string text;
  for (const auto& difference : differences) text += printable(difference_text(difference)) + '\n';
  return text;
}

}  // namespace

GuardedOutcome change_rules(RulesTransaction& rules, const ChangeMode& mode,
                            const std::function<GuardedOutcome(RulesTransaction&)>& edit) {
  if (const Refusal refusal = rules.check_revision(mode.consent.if_revision)) return {refusal, ""};
  const GuardedOutcome edited = edit(rules);
  if (edited.refusal) return {edited.refusal, ""};
  if (mode.dry_run) {
    const Refusal refusal = rules.check_commit(mode.consent);
    return {refusal, refusal ? "" : lines(rules.changes())};
  }
  const Refusal refusal = rules.commit(mode.consent);
  return {refusal, refusal ? "" : edited.answer};
}

}  // namespace Quarrow::Administration
