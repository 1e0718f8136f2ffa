// Parts that the subcommands of "quarrow filter" share.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_FILTER_COMMAND_H_
#define QUARROW_APPS_QUARROW_COMMANDS_FILTER_COMMAND_H_

#include <zvellparser.h>

#include <functional>
#include <string>

#include "administration/guarded_rules.h"
#include "apps/quarrow/commands/command.h"

namespace Quarrow::Command {

// The address in `text`; a null one, with a complaint, when it is none.
EmailAddress user_address(const std::string& text);

// Opens the filters of `user` for `work`, in a process of their own. Prints the answer of the work,
// and complains of what it refuses; gives the exit status. `create`: makes the user's folder when
// it is missing.
int with_filters_of(
    const Settings& settings, const std::string& user, bool create,
    const std::function<Administration::GuardedOutcome(Administration::RulesTransaction&)>& work);

// The options by which a user lets a change write over what it would lose.
void add_consent_options(CLI::App& app, Administration::CommitConsent& consent);

// The argument that names the user.
void add_user_option(CLI::App& app, std::string& user);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_FILTER_COMMAND_H_
