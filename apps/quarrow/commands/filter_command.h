// Parts that the subcommands that work for one user share.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_FILTER_COMMAND_H_
#define QUARROW_APPS_QUARROW_COMMANDS_FILTER_COMMAND_H_

#include <zvellparser.h>

#include <functional>
#include <string>

#include "administration/guarded_rules.h"
#include "apps/quarrow/commands/command.h"

namespace CLI {
class Validator;
}  // namespace CLI

namespace Quarrow::Command {

// From here on users are looked up below the root of `settings`. `user` is the address in `text`,
// as users are looked up by it. Refuses a text that is no address.
Administration::Refusal read_user(const Settings& settings, const std::string& text,
                                  EmailAddress& user);

// The same for a user that has to be known. Where they are not, a missing configuration is refused
// in their stead.
Administration::Refusal find_user(const Settings& settings, const std::string& text,
                                  EmailAddress& user);

// Complains of a refusal of the user or of the configuration; gives the exit status.
int complain(const Settings& settings, const Administration::Refusal& refusal);

// Opens the filters of the known user `user` for `work`, in a process of their own. Prints the
// answer of the work, and complains of what it refuses; gives the exit status.
int with_filters_of(
    const Settings& settings, const std::string& user,
    const std::function<Administration::GuardedOutcome(Administration::RulesTransaction&)>& work);

// The options by which a user lets a change write over what it would lose, says which rules it is
// for and who makes it, and how much of the history is kept.
void add_consent_options(CLI::App& app, Administration::CommitConsent& consent);

// The argument that names the user.
void add_user_option(CLI::App& app, std::string& user);

// Whether an option's value can be the number of a filter.
CLI::Validator filter_number();

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_FILTER_COMMAND_H_
