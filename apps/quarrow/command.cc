// Tables of subcommands.
#include "apps/quarrow/command.h"

#include <sysexits.h>

#include <utility>

namespace command {

Run declare_commands(CLI::App& app, const std::vector<Command>& table) {
  app.require_subcommand(1);
  std::vector<std::pair<CLI::App*, Run>> commands;
  for (const auto& row : table) {
    CLI::App* const sub = app.add_subcommand(row.name, row.summary);
    sub->footer(std::string("Example:\n  ") + row.example);
    commands.emplace_back(sub, row.declare(*sub));
  }
  return [commands](const Settings& settings) {
    for (const auto& [sub, run] : commands)
      if (sub->parsed()) return run(settings);
    return EX_USAGE;
  };
}

std::string configuration_file(const std::string& root) { return root + "/quarrow.sqlite"; }

}  // namespace command
