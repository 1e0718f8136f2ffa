// The table of homes that a subcommand is for.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_HOMES_FILE_H_
#define QUARROW_APPS_QUARROW_COMMANDS_HOMES_FILE_H_

#include <functional>
#include <string>

#include "apps/quarrow/commands/command.h"
#include "homes/homes_transaction.h"

namespace Quarrow::Command {

// That of quarrow-homes, unless --homes or the environment names another one.
const char default_homes_file[] = "/var/lib/quarrow/homes.sqlite";

// The option that names the table's file.
void add_homes_option(CLI::App& app, std::string& file);

// Complains of a refusal; gives the exit status, EX_OK where nothing is refused.
int told(const Homes::HomeRefusal& refusal);

// Has `work` change the table in `file`, and commits that unless it refuses; gives the exit status.
int change_homes(
    const std::string& file, Homes::HomesTransaction::Start start,
    const std::function<Homes::HomeRefusal(Homes::HomesTransaction& transaction)>& work);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_HOMES_FILE_H_
