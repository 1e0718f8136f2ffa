// Parts that the subcommands that work for one user share.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_FILTER_COMMAND_H_
#define QUARROW_APPS_QUARROW_COMMANDS_FILTER_COMMAND_H_

#include <zvellparser.h>

#include <functional>
#include <string>

#include "administration/guarded_rules.h"
#include "administration/rules_change.h"
#include "apps/quarrow/commands/command.h"
#include "apps/quarrow/commands/user_selection.h"
#include "apps/quarrow/listing.h"

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

// The same for each of `users`. Where they are several, each line of an answer begins with the
// user.
int with_filters_of(
    const Settings& settings, const UserSelection& users,
    const std::function<Administration::GuardedOutcome(Administration::RulesTransaction&)>& work);

// The same for a listing: the answer of the work is a JSON list of rows, each a list with a value
// for each of the columns. Where the users are several, a column "user" stands in front.
int list_filters_of(
    const Settings& settings, const UserSelection& users, ListingForm form,
    std::vector<std::string> columns,
    const std::function<Administration::GuardedOutcome(Administration::RulesTransaction&)>& work);

// Has `edit` change the filter that `name` names, by its id or by its name, for each of `users`,
// and commits that in the way of `mode`. Several users' filters are named by name alone.
int change_filter_of(const Settings& settings, const UserSelection& users, const std::string& name,
                     const Administration::ChangeMode& mode,
                     const std::function<Administration::GuardedOutcome(
                         Administration::RulesTransaction&, MessageFilters::Filter__&)>& edit);

// Prints the lines of a text about `user`. Where `users` are several, each begins with the user.
void print_lines(const UserSelection& users, const std::string& user, const std::string& text);

// The options by which a user lets a change write over what it would lose, says which rules it is
// for and who makes it, and how much of the history is kept.
void add_consent_options(CLI::App& app, Administration::CommitConsent& consent);

// These, and the one by which a change is only told.
void add_change_options(CLI::App& app, Administration::ChangeMode& mode);

// The argument that names a filter, to stand behind one user or several; and to stand behind one.
Argument filter_argument(std::string& filter);
void add_filter_option(CLI::App& app, std::string& filter);

// The argument that names the user.
void add_user_option(CLI::App& app, std::string& user);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_FILTER_COMMAND_H_
