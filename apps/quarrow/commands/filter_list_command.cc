// quarrow filter list: the filters of a user, as text that can be pasted or as JSON.
#include <sysexits.h>

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "administration/rule_text.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/shell_word.h"

namespace Quarrow::Command {

using namespace Administration;
namespace {

using MessageFilters::Action;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::Test;
using nlohmann::ordered_json;

struct Options {
  std::string user;
  bool json = false;
};

// The filter as the options that would add it again.
void print(const Filter__& filter) {
  static const char next_line[] = " \\\n    ";
  std::cout << "# " << filter.id << ", " << (filter.enabled ? "enabled" : "disabled") << '\n'
            << "--name" << (filter.name.front() == '-' ? '=' : ' ') << shell_quoted(filter.name)
            << (filter.relation == Filter__::ANYOF ? " --any" : " --all")
            << (filter.enabled ? "" : " --disabled");
  for (const auto& test : filter.tests)
    std::cout << next_line << "--if " << shell_quoted(test_text(test));
  for (const auto& action : filter.actions)
    std::cout << next_line << "--then " << shell_quoted(action_text(action));
  std::cout << '\n';
}

ordered_json to_json(const Test& test) {
  return {{"type", test.field.type}, {"field", test.field.name},  {"comparator", test.comparator},
          {"value", test.value},     {"negative", test.negative}, {"match_case", test.match_case}};
}

ordered_json to_json(const Action& action) {
  ordered_json out = {{"method", action.method}};
  if (!action.target.empty()) out["target"] = action.target;
  return out;
}

ordered_json to_json(const Filter__& filter) {
  ordered_json out = {{"id", filter.id},
                      {"enabled", filter.enabled},
                      {"name", filter.name},
                      {"relation", filter.relation},
                      {"tests", ordered_json::array()},
                      {"actions", ordered_json::array()}};
  for (const auto& test : filter.tests) out["tests"].push_back(to_json(test));
  for (const auto& action : filter.actions) out["actions"].push_back(to_json(action));
  return out;
}

void print_json(const FilterList__& list) {
  ordered_json out = ordered_json::array();
  for (const auto& filter : list.filters) out.push_back(to_json(*filter));
  // replace: a document from elsewhere may hold texts that are no UTF-8
  std::cout << out.dump(2, ' ', false, ordered_json::error_handler_t::replace) << '\n';
}

int list(RulesTransaction& rules, bool json) {
  const FilterList__& filters = *rules.filters().filters;
  if (json) {
    print_json(filters);
    return EX_OK;
  }
  for (const auto& filter : filters.filters) print(*filter);
  return EX_OK;
}

}  // namespace

Run declare_filter_list(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  add_user_option(app, options->user);
  app.add_flag("--json", options->json, "As JSON");
  return [options](const Settings& settings) {
    return with_filters_of(settings, options->user, false,
                           [&](RulesTransaction& rules) { return list(rules, options->json); });
  };
}

}  // namespace Quarrow::Command
