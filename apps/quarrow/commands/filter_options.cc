// Options, and the texts in them.
#include "apps/quarrow/commands/filter_options.h"

#include <CLI/CLI.hpp>

#include "administration/rule_check.h"
#include "administration/rule_text.h"

namespace Quarrow::Command {
namespace {

using Administration::Refusal;
using MessageFilters::Action;
using MessageFilters::Filter__;
using MessageFilters::Test;

// The refusal of what was given with `option`.
Refusal of_option(const std::string& option, const std::string& text, Refusal refusal) {
  refusal.object = option + " '" + text + "'";
  return refusal;
}

Refusal add_tests(const std::vector<std::string>& texts, Filter__& filter) {
  for (const auto& text : texts) {
    Test test;
    Refusal refusal = Administration::read_test(text, test);
    if (!refusal) refusal = Administration::check_test(test);
    if (refusal) return of_option("--if", text, refusal);
    filter.tests.push_back(test);
  }
  return {};
}

}  // namespace

CLI::Option* add_repeated_option(CLI::App& app, const std::string& name,
                                 std::vector<std::string>& texts, const std::string& type,
                                 const std::string& help) {
  // not the parser's own lists: these take the words behind a text as well, and a text in brackets
  // for a list
  return app
      .add_option_function<std::string>(
          name, [&texts](const std::string& text) { texts.push_back(text); }, help)
      ->type_name(type)
      ->trigger_on_parse();
}

std::vector<CLI::Option*> add_filter_options(CLI::App& app, const std::string& name_option,
                                             const std::string& help, FilterOptions& options) {
  std::vector<CLI::Option*> added;
  added.push_back(app.add_option(name_option, options.name, help)->type_name("TEXT"));
  added.push_back(
      add_repeated_option(app, "--if", options.tests, "TEST",
                          "Such as 'subject contains quarterly' or 'size over 2 MB', see "
                          "quarrow-rules(5); repeat it for more tests"));
  added.push_back(
      add_repeated_option(app, "--then", options.actions, "ACTION",
                          "'move FOLDER', 'copy FOLDER' or delete; repeat it for more actions"));
  added.push_back(app.add_flag("--all", "All tests must hold (the default)"));
  added.push_back(
      app.add_flag("--any", options.any, "One of the tests must hold")->excludes(added.back()));
  return added;
}

Refusal read_actions(const FilterOptions& options, Delivery::FolderDots dots,
                     std::list<Action>& actions) {
  for (const auto& text : options.actions) {
    Action action;
    Refusal refusal = Administration::read_action(text, action);
    if (!refusal) refusal = Administration::check_action(action, dots);
    if (refusal) return of_option("--then", text, refusal);
    actions.push_back(action);
  }
  return {};
}

Refusal read_filter(const FilterOptions& options, const std::string& name_option,
                    Delivery::FolderDots dots, Filter__& filter) {
  filter.name = options.name;
  filter.relation = options.any ? Filter__::ANYOF : Filter__::ALLOF;
  if (const Refusal refusal = Administration::check_name(options.name))
    return of_option(name_option, options.name, refusal);
  if (const Refusal refusal = add_tests(options.tests, filter)) return refusal;
  return read_actions(options, dots, filter.actions);
}

}  // namespace Quarrow::Command
