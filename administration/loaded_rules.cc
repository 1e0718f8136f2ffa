// Loading in a child process.
#include "administration/loaded_rules.h"

#include <string>

#include "administration/guarded_rules.h"
#include "administration/rules_text.h"

namespace Quarrow::Administration {

Refusal load_rules(const EmailAddress& user, boost::shared_ptr<MessageFilters::FilterList__>& list,
                   std::chrono::milliseconds patience) {
  const GuardedOutcome outcome = with_rules_of(
      user,
      [](RulesTransaction& rules) -> GuardedOutcome {
        const std::string document = document_text(rules.filters().filters);
        return {rules.check_loss(), document};
      },
      patience);
  if (outcome.refusal) return outcome.refusal;
  list = list_of(outcome.answer);
  if (list) return {};
  return {Refusal::Kind::damaged_document, rules_document(user.address()),
          "holds filters that could not be written again"};
}

}  // namespace Quarrow::Administration
