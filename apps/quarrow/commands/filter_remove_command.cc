// quarrow filter remove: one filter less.
#include <sysexits.h>

#include <memory>

#include "apps/quarrow/commands/filter_command.h"

namespace Quarrow::Command {

using namespace Administration;
namespace {

struct Options {
  std::string user;
  std::int32_t id = 0;
};

int remove(RulesTransaction& rules, const Options& options) {
  if (!rules.filters().remove_filter(static_cast<std::uint32_t>(options.id)))
    return no_such_filter(options.user, options.id);
  return rules.commit();
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
                           [&](RulesTransaction& rules) { return remove(rules, *options); });
  };
}

}  // namespace Quarrow::Command
