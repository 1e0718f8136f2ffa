// What the subcommands of "quarrow filter" share.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_FILTER_COMMAND_H_
#define QUARROW_APPS_QUARROW_COMMANDS_FILTER_COMMAND_H_

#include <zvellparser.h>

#include <cstdint>
#include <functional>
#include <string>

#include "administration/rules_transaction.h"
#include "apps/quarrow/commands/command.h"

namespace Quarrow::Command {

using namespace Administration;

// The address in `text`; a null one, with a complaint, when it is none.
EmailAddress user_address(const std::string& text);

// Opens the filters of `user`, in a process of their own, and gives the exit status of `work` or of
// what failed before. `create`: makes his folder when it is missing.
int with_filters_of(const Settings& settings, const std::string& user, bool create,
                    const std::function<int(RulesTransaction&)>& work);

// Complains that `user` has no filter `id`; gives the exit status.
int no_such_filter(const std::string& user, std::int32_t id);

// The argument that names the user.
void add_user_option(CLI::App& app, std::string& user);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_FILTER_COMMAND_H_
