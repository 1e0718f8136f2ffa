// Subcommands, and the tables that they stand in.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_COMMAND_H_
#define QUARROW_APPS_QUARROW_COMMANDS_COMMAND_H_

#include <functional>
#include <string>
#include <vector>

#include "apps/quarrow/option.h"
#include "delivery/recipient_lookup.h"
#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Command {

// Settings that all subcommands share.
struct Settings {
  std::string root = "/var/spool/quarrow";  // the users' folders, and the configuration
  Delivery::AddressCase address_case = Delivery::AddressCase::folded;
};

// Runs a subcommand whose options have been read; gives the exit status.
using Run = std::function<int(const Settings& settings)>;

// A subcommand: found, listed and explained by its row. It has subcommands of its own, or else
// `declare` adds its options to `app`.
struct Subcommand {
  const char* name;
  const char* summary;
  const char* example;
  Run (*declare)(CLI::App& app);
  std::vector<Subcommand> subcommands = {};
};

// Makes the subcommands of `table` known to `app`, of which one must be given, and the options that
// fill `settings`, which may stand in front of a subcommand and behind it. The result runs the one
// that was. `settings` outlives `app`.
Run declare_commands(CLI::App& app, const std::vector<Subcommand>& table, Settings& settings);

// The option for folders with a dot in the name, which `help` explains.
void add_folder_dots_option(CLI::App& app, Delivery::FolderDots& dots, const std::string& help);

Run declare_apply(CLI::App& app);
Run declare_deliver(CLI::App& app);
Run declare_diff(CLI::App& app);
Run declare_history(CLI::App& app);
Run declare_doctor(CLI::App& app);
Run declare_export(CLI::App& app);
Run declare_import(CLI::App& app);
Run declare_config_get(CLI::App& app);
Run declare_config_list(CLI::App& app);
Run declare_config_set(CLI::App& app);
Run declare_deliver(CLI::App& app);
Run declare_field_add(CLI::App& app);
Run declare_field_clear(CLI::App& app);
Run declare_field_list(CLI::App& app);
Run declare_field_remove(CLI::App& app);
Run declare_init(CLI::App& app);
Run declare_explain(CLI::App& app);
Run declare_filter_add(CLI::App& app);
Run declare_filter_copy(CLI::App& app);
Run declare_filter_disable(CLI::App& app);
Run declare_filter_edit(CLI::App& app);
Run declare_filter_enable(CLI::App& app);
Run declare_filter_list(CLI::App& app);
Run declare_filter_move(CLI::App& app);
Run declare_filter_remove(CLI::App& app);
Run declare_filter_rename(CLI::App& app);
Run declare_filter_show(CLI::App& app);
Run declare_home_import(CLI::App& app);
Run declare_home_list(CLI::App& app);
Run declare_home_move(CLI::App& app);
Run declare_home_moving(CLI::App& app);
Run declare_home_node_add(CLI::App& app);
Run declare_home_node_list(CLI::App& app);
Run declare_home_node_remove(CLI::App& app);
Run declare_home_remove(CLI::App& app);
Run declare_home_set(CLI::App& app);
Run declare_match(CLI::App& app);
Run declare_test(CLI::App& app);
Run declare_stats(CLI::App& app);
Run declare_redo(CLI::App& app);
Run declare_restore(CLI::App& app);
Run declare_undo(CLI::App& app);
Run declare_user_add(CLI::App& app);
Run declare_user_export(CLI::App& app);
Run declare_user_import(CLI::App& app);
Run declare_user_list(CLI::App& app);
Run declare_user_lock(CLI::App& app);
Run declare_user_rehash(CLI::App& app);
Run declare_user_remove(CLI::App& app);
Run declare_user_show(CLI::App& app);
Run declare_user_unlock(CLI::App& app);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_COMMAND_H_
