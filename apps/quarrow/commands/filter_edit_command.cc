// quarrow filter edit: parts of a filter put in place of others.
#include <sysexits.h>

#include <iterator>
#include <memory>
#include <set>

#include "administration/filter_reference.h"
#include "administration/rule_check.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/rule_options.h"
#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using MessageFilters::Filter__;

struct Options {
  std::string user;
  std::string filter;
  std::string name;
  std::vector<std::string> tests;
  std::vector<std::string> added_tests;
  std::vector<std::size_t> removed_tests;  // places among the tests, from 1 on
  std::vector<std::string> actions;
  bool all = false;
  bool any = false;
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  Administration::ChangeMode mode;
};

bool changes_something(CLI::App& app) {
  for (const char* option :
       {"--name", "--if", "--add-if", "--remove-if", "--then", "--all", "--any"})
    if (option_of(app, option).is_given()) return true;
  return false;
}

// Removes the tests at these places, all of them counted before any is gone.
Refusal remove_tests(const std::vector<std::size_t>& places, Filter__& filter) {
  const std::set<std::size_t> from_behind(places.begin(), places.end());
  const std::size_t tests = filter.tests.size();
  for (auto place = from_behind.rbegin(); place != from_behind.rend(); ++place) {
    if (*place > tests)
      return {Refusal::Kind::wrong_rule, "--remove-if " + std::to_string(*place),
              Administration::title_of(filter) + " has " + std::to_string(tests) +
                  (tests == 1 ? " test" : " tests")};
    filter.tests.erase(std::next(filter.tests.begin(), static_cast<std::ptrdiff_t>(*place) - 1));
  }
  return {};
}

Refusal edit_tests(const Options& options, Filter__& filter) {
  if (const Refusal refusal = remove_tests(options.removed_tests, filter)) return refusal;
  if (!options.tests.empty()) filter.tests.clear();
  if (const Refusal refusal = read_tests("--if", options.tests, filter.tests)) return refusal;
  return read_tests("--add-if", options.added_tests, filter.tests);
}

Refusal edit(const Options& options, bool has_name, Filter__& filter) {
  if (has_name) {
    if (const Refusal refusal = Administration::check_name(options.name))
      return of_option("--name", options.name, refusal);
    filter.name = options.name;
  }
  if (options.any) filter.relation = Filter__::ANYOF;
  if (options.all) filter.relation = Filter__::ALLOF;
  if (const Refusal refusal = edit_tests(options, filter)) return refusal;
  if (!options.actions.empty()) filter.actions.clear();
  if (const Refusal refusal = read_actions(options.actions, options.folder_dots, filter.actions))
    return refusal;
  return Administration::check_counts(filter.tests.size(), filter.actions.size());
}

int filter_edit(const Settings& settings, const Options& options, CLI::App& app) {
  if (!changes_something(app))
    return complain("filter edit", "nothing to change is given; see quarrow filter edit --help",
                    EX_USAGE);
  const bool has_name = option_of(app, "--name").is_given();
  const int status = change_filter_of(
      settings, UserSelection{options.user}, options.filter, options.mode,
      [&](Administration::RulesTransaction& /*rules*/, Filter__& filter) -> GuardedOutcome {
        return {edit(options, has_name, filter), ""};
      });
  return remark_on_actions(options.actions, options.folder_dots, status);
}

void add_part_options(CLI::App& app, Options& options) {
  add_option(app, "--name", options.name, "The new name of the filter").type_name("TEXT");
  add_text_option(app, "--if", options.tests, "TEST",
                  "A test in place of all that were there; repeat it for more tests");
  add_text_option(app, "--add-if", options.added_tests, "TEST",
                  "A further test; repeat it for more tests");
  add_repeated(
      app, "--remove-if",
      [&options](const std::string& place) {
        options.removed_tests.push_back(std::stoul(place, nullptr, 0));
      },
      "Remove the test N, as filter show has them; repeat it for more tests")
      .type_name("N")
      .in_range(1, 1000)
      .excludes(option_of(app, "--if"));
  add_text_option(app, "--then", options.actions, "ACTION",
                  "An action in place of all that were there; repeat it for more actions");
  const auto all = add_flag(app, "--all", options.all, "All tests must hold");
  add_flag(app, "--any", options.any, "One of the tests must hold").excludes(all);
}

}  // namespace

Run declare_filter_edit(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  add_user_option(app, options->user);
  add_filter_option(app, options->filter);
  add_part_options(app, *options);
  add_action_folder_dots(app, options->folder_dots);
  add_change_options(app, options->mode);
  return [options, &app](const Settings& settings) { return filter_edit(settings, *options, app); };
}

}  // namespace Quarrow::Command
