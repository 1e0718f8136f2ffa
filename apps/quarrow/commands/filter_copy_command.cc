// quarrow filter copy: a filter like another one, for the same user or for another.
#include <sysexits.h>

#include <memory>

#include "administration/filter_reference.h"
#include "administration/root_setup.h"
#include "administration/rule_check.h"
#include "administration/rules_json.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/rule_options.h"
#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;

struct FilterCopyOptions {
  std::string user;
  std::string filter;
  std::string name;  // empty: that of the filter
  std::string to;    // empty: the same user
  Administration::ChangeMode mode;
};

// The answer is the filter, alone in a list in JSON.
GuardedOutcome read(RulesTransaction& rules, const std::string& name) {
  boost::shared_ptr<Filter__> filter;
  if (const Refusal refusal = Administration::find_filter(rules.filters(), name, filter))
    return {refusal, ""};
  if (const Refusal refusal = rules.check_loss()) return {refusal, ""};
  const auto list = FilterList__::Create();
  (void)list->append(filter);  // it was loaded, so it is valid and has an id
  return {{}, Administration::rules_json(*list)};
}

// Adds the filter; the answer is its number.
GuardedOutcome add(RulesTransaction& rules, const Filter__& original, const std::string& name) {
  const auto filter = Filter__::Create();
  *filter = original;
  filter->id = 0;
  if (!name.empty()) filter->name = name;
  const Refusal refusal = rules.add(filter, 0);
  return {refusal, refusal ? "" : std::to_string(filter->id) + '\n'};
}

int add_copy(const Settings& settings, const FilterCopyOptions& options, const std::string& json) {
  boost::shared_ptr<FilterList__> list;
  if (const Refusal refusal = Administration::read_rules_json(json, list)) return complain(refusal);
  return with_filters_of(
      settings, options.to.empty() ? options.user : options.to, [&](RulesTransaction& rules) {
        return Administration::change_rules(rules, options.mode, [&](RulesTransaction& opened) {
          return add(opened, *list->filters.front(), options.name);
        });
      });
}

int filter_copy(const Settings& settings, const FilterCopyOptions& options) {
  if (options.to.empty() && options.name.empty())
    return complain("filter copy", "a copy for the same user needs a name; give one with --name",
                    EX_USAGE);
  EmailAddress user;
  Refusal refusal = find_user(settings, options.user, user);
  if (!refusal) refusal = Administration::open_configuration(settings.root);
  if (refusal) return complain(settings, refusal);
  const GuardedOutcome original = Administration::with_rules_of(
      user, [&options](RulesTransaction& rules) { return read(rules, options.filter); });
  if (original.refusal) return complain(original.refusal);
  return add_copy(settings, options, original.answer);
}

}  // namespace

Run declare_filter_copy(CLI::App& app) {
  const auto options = std::make_shared<FilterCopyOptions>();
  add_user_option(app, options->user);
  add_filter_option(app, options->filter);
  add_option(app, "--name", options->name, "Name of the copy").type_name("TEXT");
  add_option(app, "--to", options->to, "The user who gets the copy").type_name("OTHER");
  add_change_options(app, options->mode);
  return [options](const Settings& settings) { return filter_copy(settings, *options); };
}

}  // namespace Quarrow::Command
