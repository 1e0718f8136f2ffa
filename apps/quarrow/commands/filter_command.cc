// quarrow filter: the filters of a user.
#include "apps/quarrow/commands/filter_command.h"

#include <sysexits.h>
#include <zvelluser.h>

#include <iostream>

#include "administration/rule_check.h"
#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {

using Administration::GuardedOutcome;
using Administration::RulesTransaction;

EmailAddress user_address(const std::string& text) {
  if (const auto refusal = Administration::check_user(text)) complain(refusal);
  return EmailAddress(text);
}

int with_filters_of(const Settings& settings, const std::string& user, bool create,
                    const std::function<GuardedOutcome(RulesTransaction&)>& work) {
  const EmailAddress address = user_address(user);
  if (address.isNull()) return EX_NOUSER;
  mailuser_set_root(settings.root);
  const GuardedOutcome outcome = Administration::with_rules_of(address, create, work);
  std::cout << outcome.answer;
  return outcome.refusal ? complain(outcome.refusal) : EX_OK;
}

void add_consent_options(CLI::App& app, Administration::CommitConsent& consent) {
  app.add_flag("--accept-loss", consent.accept_loss,
               "Lose the parts of the filter document that can't be read");
  app.add_flag("--replace-script", consent.replace_script,
               "Replace a script that was not made from filters");
}

void add_user_option(CLI::App& app, std::string& user) {
  app.add_option("user", user, "The user, by mail address")->type_name("")->required();
}

Run declare_filter(CLI::App& app) {
  return declare_commands(
      app, {{"add", "Add a filter.",
             "quarrow filter add alice@example.org --name Reports --any \\\n"
             "      --if 'string subject contains quarterly' \\\n"
             "      --if 'not address from is boss@example.org' --then 'move Reports'",
             declare_filter_add},
            {"list", "Show the filters in the order in which they are tried.",
             "quarrow filter list alice@example.org", declare_filter_list},
            {"remove", "Remove a filter.", "quarrow filter remove alice@example.org 3",
             declare_filter_remove}});
}

}  // namespace Quarrow::Command
