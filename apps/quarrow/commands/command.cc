// Tables of subcommands.
#include "apps/quarrow/commands/command.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "delivery/folder_name.h"

namespace Quarrow::Command {
namespace {

CLI::Option* declare_settings(CLI::App& app, Settings& settings) {
  app.add_flag_callback(
      "--keep-case", [&settings] { settings.address_case = Delivery::AddressCase::kept; },
      "Tell capitals in users' addresses from small letters");
  return app
      .add_option("--root", settings.root, "Folder of the users' folders and of the configuration")
      ->type_name("DIR");
}

Run declare(CLI::App& app, const Subcommand& row, Settings& settings);

Run declare_rows(CLI::App& app, const std::vector<Subcommand>& table, Settings& settings) {
  app.require_subcommand(1);
  const auto run = std::make_shared<Run>();
  for (const auto& row : table) {
    CLI::App* const sub = app.add_subcommand(row.name, row.summary);
    sub->footer(std::string("Example:\n  ") + row.example);
    // Only the options of the command that is given are made: a mail server starts us per message.
    sub->preparse_callback([sub, run, row, &settings](std::size_t) {
      declare_settings(*sub, settings);
      *run = declare(*sub, row, settings);
    });
  }
  return [run](const Settings& chosen) { return (*run)(chosen); };
}

Run declare(CLI::App& app, const Subcommand& row, Settings& settings) {
  if (row.subcommands.empty()) return row.declare(app);
  return declare_rows(app, row.subcommands, settings);
}

}  // namespace

Run declare_commands(CLI::App& app, const std::vector<Subcommand>& table, Settings& settings) {
  declare_settings(app, settings)->capture_default_str()->envname("QUARROW_ROOT");
  return declare_rows(app, table, settings);
}

void add_folder_dots_option(CLI::App& app, Delivery::FolderDots& dots, const std::string& help) {
  add_option(
      app, "--folder-dots",
      [&dots](const std::string& word) { dots = Delivery::folder_dots_of(word); }, help)
      .type_name("inbox|listescape")
      .check(Delivery::folder_dots_fault)
      .default_str("inbox");
}

}  // namespace Quarrow::Command
