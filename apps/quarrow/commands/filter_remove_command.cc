// quarrow filter remove: one filter less.
#include <CLI/CLI.hpp>
#include <memory>

#include "apps/quarrow/commands/filter_command.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::RulesTransaction;

struct Options {
  std::string user;
  std::int32_t id = 0;
  Administration::CommitConsent consent;
};

GuardedOutcome remove(RulesTransaction& rules, const Options& options) {
  if (const auto refusal = rules.check_revision(options.consent.if_revision)) return {refusal, ""};
  if (const auto refusal = rules.remove(options.id)) return {refusal, ""};
  return {rules.commit(options.consent), ""};
}

}  // namespace

Run declare_filter_remove(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  add_user_option(app, options->user);
  app.add_option("id", options->id, "The filter's number, as filter list shows it")
      ->type_name("")
      ->check(filter_number())
      ->required();
  add_consent_options(app, options->consent);
  return [options](const Settings& settings) {
    return with_filters_of(settings, options->user,
                           [&](RulesTransaction& rules) { return remove(rules, *options); });
  };
}

}  // namespace Quarrow::Command
