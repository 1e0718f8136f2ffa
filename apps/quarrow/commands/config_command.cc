// quarrow config: the settings in the configuration.
#include <sysexits.h>

#include <iostream>
#include <memory>

#include "administration/settings_change.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {
namespace {

using Administration::Refusal;
using Administration::Setting;
using Administration::SettingChange;

struct ConfigOptions {
  std::string name;
  std::string value;
  ListingForm form = ListingForm::table;
  bool dry_run = false;
};

int config_list(const Settings& settings, ListingForm form) {
  std::vector<Setting> all;
  if (const Refusal refusal = Administration::read_settings(settings.root, all))
    return complain(settings, refusal);
  Listing listing({"name", "value", "meaning"});
  for (const Setting& setting : all) listing.add({setting.name, setting.value, setting.meaning});
  listing.print(form, std::cout);
  return EX_OK;
}

int config_get(const Settings& settings, const std::string& name) {
  Setting setting;
  if (const Refusal refusal = Administration::read_setting(settings.root, name, setting))
    return complain(settings, refusal);
  std::cout << setting.value << '\n';
  return EX_OK;
}

int config_set(const Settings& settings, const ConfigOptions& options) {
  SettingChange change;
  Refusal refusal =
      Administration::check_setting(settings.root, options.name, options.value, change);
  if (!refusal && options.dry_run) {
    if (change.value == change.before)
      std::cout << "nothing would change\n";
    else
      std::cout << change.name << " would be " << change.value << " instead of " << change.before
                << '\n';
    return EX_OK;
  }
  if (!refusal) refusal = Administration::change_setting(settings.root, change);
  return refusal ? complain(settings, refusal) : EX_OK;
}

void add_name(CLI::App& app, std::string& name) {
  add_option(app, "name", name, "The setting, as config list shows it").type_name("").required();
}

}  // namespace

Run declare_config_list(CLI::App& app) {
  const auto options = std::make_shared<ConfigOptions>();
  add_format_option(app, options->form);
  return [options](const Settings& settings) { return config_list(settings, options->form); };
}

Run declare_config_get(CLI::App& app) {
  const auto options = std::make_shared<ConfigOptions>();
  add_name(app, options->name);
  return [options](const Settings& settings) { return config_get(settings, options->name); };
}

Run declare_config_set(CLI::App& app) {
  const auto options = std::make_shared<ConfigOptions>();
  add_name(app, options->name);
  add_option(app, "value", options->value, "Its new value").type_name("").required();
  add_flag(app, "--dry-run", options->dry_run, "Say what would change, and change nothing");
  return [options](const Settings& settings) { return config_set(settings, *options); };
}

}  // namespace Quarrow::Command
