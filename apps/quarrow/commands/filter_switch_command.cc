// quarrow filter enable, disable and rename: changes of a filter that leave its rule as it is.
#include <memory>

#include "administration/rule_check.h"
#include "apps/quarrow/commands/filter_command.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using MessageFilters::Filter__;

struct FilterSwitchOptions {
  UserSelection users;
  std::string filter;
  std::string name;
  Administration::ChangeMode mode;
};

Run declare_switch(CLI::App& app, bool enabled) {
  const auto options = std::make_shared<FilterSwitchOptions>();
  add_user_selection(app, options->users, {filter_argument(options->filter)});
  add_change_options(app, options->mode);
  return [options, enabled](const Settings& settings) {
    return change_filter_of(settings, options->users, options->filter, options->mode,
                            [enabled](RulesTransaction& /*rules*/, Filter__& filter) {
                              filter.enabled = enabled;
                              return GuardedOutcome();
                            });
  };
}

GuardedOutcome rename(Filter__& filter, const std::string& name) {
  Refusal refusal = Administration::check_name(name);
  if (refusal.kind == Refusal::Kind::no_name)
    refusal.kind = Refusal::Kind::wrong_rule;  // no --name
  if (!refusal) filter.name = name;
  return {refusal, ""};
}

}  // namespace

Run declare_filter_enable(CLI::App& app) { return declare_switch(app, true); }

Run declare_filter_disable(CLI::App& app) { return declare_switch(app, false); }

Run declare_filter_rename(CLI::App& app) {
  const auto options = std::make_shared<FilterSwitchOptions>();
  add_user_selection(
      app, options->users,
      {filter_argument(options->filter), {"name", "The new name of the filter", &options->name}});
  add_change_options(app, options->mode);
  return [options](const Settings& settings) {
    return change_filter_of(settings, options->users, options->filter, options->mode,
                            [options](RulesTransaction& /*rules*/, Filter__& filter) {
                              return rename(filter, options->name);
                            });
  };
}

}  // namespace Quarrow::Command
