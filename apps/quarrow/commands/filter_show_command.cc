// quarrow filter show: one filter as lines that can be edited.
#include <memory>

#include "administration/filter_reference.h"
#include "administration/filter_text.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/filter_rows.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using MessageFilters::Filter__;

struct FilterShowOptions {
  FilterListing listing;
  std::string filter;
};

GuardedOutcome text_of(RulesTransaction& rules, const std::string& name) {
  boost::shared_ptr<Filter__> filter;
  if (const Refusal refusal = Administration::find_filter(rules.filters(), name, filter))
    return {refusal, ""};
  return {rules.check_loss(), Administration::filter_text(*filter)};
}

Refusal choose(RulesTransaction& rules, const std::string& name,
               std::vector<boost::shared_ptr<Filter__>>& filters) {
  boost::shared_ptr<Filter__> filter;
  const Refusal refusal = Administration::find_filter(rules.filters(), name, filter);
  if (!refusal) filters.push_back(filter);
  return refusal;
}

}  // namespace

Run declare_filter_show(CLI::App& app) {
  const auto options = std::make_shared<FilterShowOptions>();
  add_user_selection(app, options->listing.users, {filter_argument(options->filter)});
  const auto has_format = add_optional_format(app, options->listing.form);
  options->listing.choose = [&name = options->filter](RulesTransaction& rules, auto& filters) {
    return choose(rules, name, filters);
  };
  return [options, has_format](const Settings& settings) {
    if (has_format()) return list_rows(settings, options->listing);
    return with_filters_of(
        settings, options->listing.users,
        [&name = options->filter](RulesTransaction& rules) { return text_of(rules, name); });
  };
}

}  // namespace Quarrow::Command
