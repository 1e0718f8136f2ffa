// quarrow filter list: the filters of a user, as text that can be pasted or as JSON.
#include <memory>
#include <sstream>

#include "administration/rule_text.h"
#include "administration/rules_json.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/filter_rows.h"
#include "apps/quarrow/shell_word.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;

struct FilterListOptions {
  FilterListing listing;
  bool json = false;
};

// The filter as the options that would add it again.
void write(const Filter__& filter, std::ostream& out) {
  static const char next_line[] = " \\\n    ";
  out << "# " << filter.id << ", " << (filter.enabled ? "enabled" : "disabled") << '\n'
      << "--name" << (filter.name.front() == '-' ? '=' : ' ') << shell_quoted(filter.name)
      << (filter.relation == Filter__::ANYOF ? " --any" : " --all")
      << (filter.enabled ? "" : " --disabled");
  for (const auto& test : filter.tests)
    out << next_line << "--if " << shell_quoted(Administration::test_text(test));
  for (const auto& action : filter.actions)
    out << next_line << "--then " << shell_quoted(Administration::action_text(action));
  out << '\n';
}

std::string listing(RulesTransaction& rules, bool json) {
  const FilterList__& list = *rules.filters().filters;
  if (json) return Administration::rules_json(list, rules.revision()) + '\n';
  std::ostringstream out;
  for (const auto& filter : list.filters) write(*filter, out);
  out << "# revision " << rules.revision() << '\n';
  return out.str();
}

Refusal choose_all(RulesTransaction& rules, std::vector<boost::shared_ptr<Filter__>>& filters) {
  const auto& all = rules.filters().filters->filters;
  filters.assign(all.begin(), all.end());
  return {};
}

int list_texts(const Settings& settings, const FilterListOptions& options) {
  return with_filters_of(
      settings, options.listing.users,
      [&](RulesTransaction& rules) -> GuardedOutcome {
        return {rules.check_loss(), listing(rules, options.json)};
      });
}

}  // namespace

Run declare_filter_list(CLI::App& app) {
  const auto options = std::make_shared<FilterListOptions>();
  add_user_selection(app, options->listing.users);
  const auto has_format = add_optional_format(app, options->listing.form);
  const auto json = add_flag(app, "--json", options->json, "As JSON with all parts of the filters");
  for (const char* other : {"--format", "--all-users", "--users"})
    json.excludes(option_of(app, other));
  options->listing.choose = choose_all;
  return [options, has_format](const Settings& settings) {
    if (has_format() || options->listing.users.several())
      return list_rows(settings, options->listing);
    return list_texts(settings, *options);
  };
}

}  // namespace Quarrow::Command
