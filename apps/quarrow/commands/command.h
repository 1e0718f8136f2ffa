// Subcommands, and the tables that they stand in.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_COMMAND_H_
#define QUARROW_APPS_QUARROW_COMMANDS_COMMAND_H_

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace Quarrow::Command {

// Settings that all subcommands share.
struct Settings {
  std::string root = "/var/spool/quarrow";  // the users' folders, and the configuration
};

// Runs a subcommand whose options have been read; gives the exit status.
using Run = std::function<int(const Settings& settings)>;

// A subcommand: found, listed and explained by its row. `declare` adds its options to `app`.
struct Subcommand {
  const char* name;
  const char* summary;
  const char* example;
  Run (*declare)(CLI::App& app);
};

// Makes the subcommands of `table` known to `app`, of which one must be given. The result runs the
// one that was.
Run declare_commands(CLI::App& app, const std::vector<Subcommand>& table);

Run declare_deliver(CLI::App& app);
Run declare_init(CLI::App& app);
Run declare_filter(CLI::App& app);
Run declare_filter_add(CLI::App& app);
Run declare_filter_list(CLI::App& app);
Run declare_filter_remove(CLI::App& app);
Run declare_match(CLI::App& app);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_COMMAND_H_
