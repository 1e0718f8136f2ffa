// The columns of filters.
#include "apps/quarrow/commands/filter_rows.h"

#include <nlohmann/json.hpp>

#include "administration/rule_text.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using Json = nlohmann::ordered_json;
using MessageFilters::Filter__;

Json row_of(const Filter__& filter) {
  Json tests = Json::array();
  for (const auto& test : filter.tests) tests.push_back(Administration::test_text(test));
  Json actions = Json::array();
  for (const auto& action : filter.actions) actions.push_back(Administration::action_text(action));
  const char* const match = filter.relation == Filter__::ANYOF ? "any" : "all";
  return Json::array({filter.id, filter.name, filter.enabled, match, tests, actions});
}

}  // namespace

int list_rows(const Settings& settings, const FilterListing& listing) {
  const auto work = [&listing](RulesTransaction& rules) -> GuardedOutcome {
    std::vector<boost::shared_ptr<Filter__>> filters;
    if (const Refusal refusal = listing.choose(rules, filters)) return {refusal, ""};
    Json rows = Json::array();
    for (const auto& filter : filters) rows.push_back(row_of(*filter));
    // replace: a document from elsewhere may hold texts that are no UTF-8
    return {rules.check_loss(), rows.dump(-1, ' ', false, Json::error_handler_t::replace)};
  };
  return list_filters_of(settings, listing.users, listing.form,
                         {"id", "name", "enabled", "match", "tests", "actions"}, work);
}

std::function<bool()> add_optional_format(CLI::App& app, ListingForm& form) {
  add_format_option(app, form);
  const Option option = option_of(app, "--format");
  option.default_str("");  // without the option, the form is none of these
  return [option] { return option.is_given(); };
}

}  // namespace Quarrow::Command
