// quarrow filter remove: one filter less.
#include <memory>

#include "apps/quarrow/commands/filter_command.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::RulesTransaction;
using MessageFilters::Filter__;

struct FilterRemoveOptions {
  UserSelection users;
  std::string filter;
  Administration::ChangeMode mode;
};

GuardedOutcome remove(RulesTransaction& rules, const Filter__& filter) {
  return {rules.remove(filter.id), ""};
}

}  // namespace

Run declare_filter_remove(CLI::App& app) {
  const auto options = std::make_shared<FilterRemoveOptions>();
  add_user_selection(app, options->users, {filter_argument(options->filter)});
  add_change_options(app, options->mode);
  return [options](const Settings& settings) {
    return change_filter_of(settings, options->users, options->filter, options->mode, remove);
  };
}

}  // namespace Quarrow::Command
