// Tables of subcommands.
#include "apps/quarrow/commands/command.h"

#include <memory>

namespace Quarrow::Command {

Run declare_commands(CLI::App& app, const std::vector<Subcommand>& table) {
  app.require_subcommand(1);
  const auto run = std::make_shared<Run>();
  for (const auto& row : table) {
    CLI::App* const sub = app.add_subcommand(row.name, row.summary);
    sub->footer(std::string("Example:\n  ") + row.example);
    // Only the options of the command that is given are made: a mail server starts us per message.
    sub->preparse_callback(
        [sub, run, declare = row.declare](std::size_t) { *run = declare(*sub); });
  }
  return [run](const Settings& settings) { return (*run)(settings); };
}

}  // namespace Quarrow::Command
