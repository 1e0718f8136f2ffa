// quarrow filter add: a new filter, checked before it is taken.
#include <sysexits.h>
#include <CLI/CLI.hpp>

#include <list>
#include <memory>

#include "administration/root_setup.h"
#include "administration/rule_check.h"
#include "administration/rule_text.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using MessageFilters::Action;
using MessageFilters::Filter__;
using MessageFilters::Test;

struct Options {
  std::string user;
  std::string name;
  std::vector<std::string> tests;
  std::vector<std::string> actions;
  bool any = false;
  bool disabled = false;
  std::int32_t before = 0;  // 0: at the end
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  Administration::CommitConsent consent;
};

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

Refusal add_actions(const Options& options, std::list<Action>& actions) {
  for (const auto& text : options.actions) {
    Action action;
    Refusal refusal = Administration::read_action(text, action);
    if (!refusal) refusal = Administration::check_action(action, options.folder_dots);
    if (refusal) return of_option("--then", text, refusal);
    actions.push_back(action);
  }
  return {};
}

Refusal build(const Options& options, Filter__& filter) {
  filter.name = options.name;
  filter.enabled = !options.disabled;
  filter.relation = options.any ? Filter__::ANYOF : Filter__::ALLOF;
  if (const Refusal refusal = Administration::check_name(options.name))
    return of_option("--name", options.name, refusal);
  if (const Refusal refusal = add_tests(options.tests, filter)) return refusal;
  return add_actions(options, filter.actions);
}

// Adds the filter; the answer is its number.
GuardedOutcome add(RulesTransaction& rules, const Options& options) {
  const auto filter = Filter__::Create();
  Refusal refusal = rules.check_place(options.before);
  if (!refusal) refusal = build(options, *filter);
  if (!refusal) refusal = rules.add(filter, options.before);
  if (!refusal) refusal = rules.commit(options.consent);
  return {refusal, refusal ? "" : std::to_string(filter->id) + '\n'};
}

// What the user may not expect of these actions, each of which can be taken.
std::string remark_on_actions(const Options& options) {
  std::list<Action> actions;
  return add_actions(options, actions) ? "" : Administration::remark_on(actions);
}

int filter_add(const Settings& settings, const Options& options) {
  if (Refusal refusal =
          Administration::check_counts(options.tests.size(), options.actions.size())) {
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

void add_text_option(CLI::App& app, const std::string& name, std::vector<std::string>& texts,
                     const std::string& type, const std::string& help) {
  // one text per option, and a text in brackets is not a list
  app.add_option(name, texts, help)->type_name(type)->expected(1, 1000)->allow_extra_args(false);
}

}  // namespace

Run declare_filter_add(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  add_user_option(app, options->user);
  app.add_option("--name", options->name, "Name of the filter")->type_name("TEXT")->required();
  add_text_option(app, "--if", options->tests, "TEST",
                  "Such as 'subject contains quarterly' or 'size over 2 MB', see quarrow-rules(5); "
                  "repeat it for more tests");
  add_text_option(app, "--then", options->actions, "ACTION",
                  "'move FOLDER', 'copy FOLDER' or delete; repeat it for more actions");
  const auto all = app.add_flag("--all", "All tests must hold (the default)");
  app.add_flag("--any", options->any, "One of the tests must hold")->excludes(all);
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
