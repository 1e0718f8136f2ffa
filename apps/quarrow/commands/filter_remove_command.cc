// quarrow filter remove: one filter less.
#include <memory>

#include "apps/quarrow/commands/filter_command.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::RulesTransaction;

struct Options {
  std::string user;
  std::int32_t id = 0;
};

GuardedOutcome remove(RulesTransaction& rules, std::int32_t id) {
  if (const auto refusal = rules.remove(id)) return {refusal, ""};
  return {rules.commit(), ""};
}

}  // namespace

Run declare_filter_remove(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  add_user_option(app, options->user);
  app.add_option("id", options->id, "The filter's number, as filter list shows it")
      ->type_name("")
      ->required();
  return [options](const Settings& settings) {
    return with_filters_of(settings, options->user, false,
                           [&](RulesTransaction& rules) { return remove(rules, options->id); });
  };
}

}  // namespace Quarrow::Command
