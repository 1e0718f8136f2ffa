// quarrow filter add: a new filter, checked before it is taken.
#include <sysexits.h>

#include <memory>

#include "administration/filter_reference.h"
#include "administration/root_setup.h"
#include "administration/rule_check.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/filter_options.h"
#include "apps/quarrow/commands/rule_options.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/rule_warnings.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using MessageFilters::Filter__;

struct Options {
  std::string user;
  FilterOptions filter;
  bool disabled = false;
  std::string before;  // empty: at the end
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  Administration::ChangeMode mode;
};

// Adds the filter; the answer is its number.
GuardedOutcome add(RulesTransaction& rules, const Options& options) {
  boost::shared_ptr<Filter__> next;
  Refusal refusal;
  if (!options.before.empty())
    refusal = Administration::find_filter(rules.filters(), options.before, next);
  const std::int32_t before = next ? next->id : 0;
  const auto filter = Filter__::Create();
  if (!refusal) refusal = rules.check_place(before);
  if (!refusal) refusal = read_filter(options.filter, "--name", options.folder_dots, *filter);
  filter->enabled = !options.disabled;
  if (!refusal) refusal = rules.add(filter, before);
  if (!refusal) warn_of_rules(*rules.filters().filters, filter->id);
  return {refusal, refusal ? "" : std::to_string(filter->id) + '\n'};
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
  const int status = with_filters_of(settings, options.user, [&](RulesTransaction& rules) {
    return Administration::change_rules(
        rules, options.mode, [&options](RulesTransaction& opened) { return add(opened, options); });
  });
  return remark_on_actions(options.filter.actions, options.folder_dots, status);
}

}  // namespace

Run declare_filter_add(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  add_user_option(app, options->user);
  add_filter_options(app, "--name", "Name of the filter", options->filter).front().required();
  add_flag(app, "--disabled", options->disabled, "Store the filter, but do not run it");
  add_option(app, "--before", options->before, "Try it before this filter instead of last")
      .type_name("OTHER");
  add_action_folder_dots(app, options->folder_dots);
  add_change_options(app, options->mode);
  return [options](const Settings& settings) { return filter_add(settings, *options); };
}

}  // namespace Quarrow::Command
