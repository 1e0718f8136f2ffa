// quarrow filter add: a new filter, checked before it is taken.
#include <sysexits.h>
#include <CLI/CLI.hpp>

#include <list>
#include <memory>

#include "administration/root_setup.h"
#include "administration/rule_check.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/filter_options.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/rule_warnings.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using MessageFilters::Action;
using MessageFilters::Filter__;

struct Options {
  std::string user;
  FilterOptions filter;
  bool disabled = false;
  std::int32_t before = 0;  // 0: at the end
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  Administration::CommitConsent consent;
};

// Adds the filter; the answer is its number.
GuardedOutcome add(RulesTransaction& rules, const Options& options) {
  const auto filter = Filter__::Create();
  Refusal refusal = rules.check_revision(options.consent.if_revision);
  if (!refusal) refusal = rules.check_place(options.before);
  if (!refusal) refusal = read_filter(options.filter, "--name", options.folder_dots, *filter);
  filter->enabled = !options.disabled;
  if (!refusal) refusal = rules.add(filter, options.before);
  if (!refusal) refusal = rules.commit(options.consent);
  if (!refusal) warn_of_rules(*rules.filters().filters, filter->id);
  return {refusal, refusal ? "" : std::to_string(filter->id) + '\n'};
}

// What the user may not expect of these actions, each of which can be taken.
std::string remark_on_actions(const Options& options) {
  std::list<Action> actions;
  return read_actions(options.filter, options.folder_dots, actions)
             ? ""
             : Administration::remark_on(actions);
}

int filter_add(const Settings& settings, const Options& options) {
  if (Refusal refusal = Administration::check_counts(options.filter.tests.size(),
                                                     options.filter.actions.size())) {
    refusal.object = "filter add";
    return complain(refusal);
  }
  EmailAddress user;
  Refusal refusal = find_user(settings, options.user, user);
  if (!refusal) refusal = Administration::open_configuration(settings.root);
  if (refusal) return complain(settings, refusal);
  const int status = with_filters_of(settings, options.user,
                                     [&](RulesTransaction& rules) { return add(rules, options); });
  const std::string remark = status == EX_OK ? remark_on_actions(options) : "";
  return remark.empty() ? status : complain("--then", remark, status);
}

}  // namespace

Run declare_filter_add(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  add_user_option(app, options->user);
  add_filter_options(app, "--name", "Name of the filter", options->filter).front()->required();
  app.add_flag("--disabled", options->disabled, "Store the filter, but do not run it");
  app.add_option("--before", options->before, "Try it before the filter ID instead of last")
      ->type_name("ID")
      ->check(filter_number());
  add_folder_dots_option(app, options->folder_dots,
                         "listescape lets folders have a dot in the name, where mail is delivered "
                         "with the same option");
  add_consent_options(app, options->consent);
  return [options](const Settings& settings) { return filter_add(settings, *options); };
}

}  // namespace Quarrow::Command
