// Loading in a child process.
#include "apps/quarrow/commands/loaded_rules.h"

#include <string>

#include "administration/guarded_rules.h"
#include "administration/rules_text.h"
#include "administration/users.h"

namespace Quarrow::Command {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;

Refusal load_rules(const EmailAddress& user,
                   boost::shared_ptr<MessageFilters::FilterList__>& list) {
  const GuardedOutcome outcome =
      Administration::with_rules_of(user, [](RulesTransaction& rules) -> GuardedOutcome {
        const std::string document = Administration::document_text(rules.filters().filters);
        return {rules.check_loss(), document};
      });
  if (outcome.refusal) return outcome.refusal;
  list = Administration::list_of(outcome.answer);
  if (list) return {};
  return {Refusal::Kind::damaged_document, Administration::rules_document(user.address()),
          "holds filters that could not be written again"};
}

}  // namespace Quarrow::Command
