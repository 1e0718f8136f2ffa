// quarrow filter add: a new filter, checked before it is taken.
#include <base.h>
#include <sysexits.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>

#include "administration/rule_check.h"
#include "administration/rule_text.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {

using namespace Administration;
namespace {

using MessageFilters::Action;
using MessageFilters::Filter__;
using MessageFilters::Test;
using MessageFilters::UserMessageFilters__;

struct Options {
  std::string user;
  std::string name;
  std::vector<std::string> tests;
  std::vector<std::string> actions;
  bool any = false;
  bool disabled = false;
  std::int32_t before = 0;  // 0: at the end
};

int refuse(const std::string& option, const std::string& text, const Fault& fault) {
  return complain(option + " '" + text + "'", fault);
}

int add_tests(UserMessageFilters__& rules, const std::vector<std::string>& texts,
              Filter__& filter) {
  for (const auto& text : texts) {
    Test test;
    const std::string unreadable = read_test(text, test);
    const Fault fault =
        unreadable.empty() ? test_fault(rules, test) : Fault{unreadable, EX_DATAERR};
    if (fault) return refuse("--if", text, fault);
    filter.tests.push_back(test);
  }
  return EX_OK;
}

int add_actions(const std::vector<std::string>& texts, Filter__& filter) {
  for (const auto& text : texts) {
    Action action;
    const std::string unreadable = read_action(text, action);
    const Fault fault = unreadable.empty() ? action_fault(action) : Fault{unreadable, EX_DATAERR};
    if (fault) return refuse("--then", text, fault);
    filter.actions.push_back(action);
  }
  return EX_OK;
}

int build(UserMessageFilters__& rules, const Options& options, Filter__& filter) {
  filter.name = options.name;
  filter.enabled = !options.disabled;
  filter.relation = options.any ? Filter__::ANYOF : Filter__::ALLOF;
  if (const Fault fault = name_fault(options.name)) return refuse("--name", options.name, fault);
  if (const int status = add_tests(rules, options.tests, filter)) return status;
  return add_actions(options.actions, filter);
}

int add(RulesTransaction& rules, const Options& options) {
  UserMessageFilters__& filters = rules.filters();
  if (filters.max_filters_reached())
    return complain(options.user,
                    "has " + std::to_string(UserMessageFilters__::max_filters()) +
                        " filters, the most there may be; remove one first",
                    EX_DATAERR);
  if (options.before != 0 && !filters.filters->find_filter(options.before))
    return no_such_filter(options.user, options.before);
  const auto filter = Filter__::Create();
  if (const int status = build(filters, options, *filter)) return status;
  if (!filters.add_filter(filter, static_cast<std::uint32_t>(options.before)))
    return complain(options.user, "no filter number is left; the highest one is in use",
                    EX_DATAERR);
  if (const int status = rules.commit()) return status;
  std::cout << filter->id << '\n';
  return EX_OK;
}

// A filter without tests would be stored and never run.
int check_counts(const Options& options) {
  if (options.tests.empty())
    return complain("filter add",
                    "a filter without a test would never run; give at least one --if "
                    "'TYPE FIELD COMPARATOR VALUE'",
                    EX_USAGE);
  if (options.tests.size() > Filter__::max_tests())
    return complain("filter add",
                    "a filter has at most " + std::to_string(Filter__::max_tests()) +
                        " tests; spread them over several filters",
                    EX_USAGE);
  if (options.actions.empty())
    return complain("filter add",
                    "a filter without an action does nothing; give at least one --then "
                    "'move FOLDER', 'copy FOLDER' or delete",
                    EX_USAGE);
  return EX_OK;
}

int open_configuration(const std::string& root) {
  const std::string path = configuration_file(root);
  if (access(path.c_str(), R_OK) == 0) {
    if (cmdb.open(path)) return EX_OK;
    return complain("configuration",
                    cmdb.error + "; restore it from a copy, or remove it and run quarrow init",
                    EX_CONFIG);
  }
  if (errno != ENOENT) return complain(path, std::strerror(errno), file_status(errno));
  return complain(path, "no configuration; quarrow --root " + root + " init makes it", EX_CONFIG);
}

int filter_add(const Settings& settings, const Options& options) {
  if (const int status = check_counts(options)) return status;
  if (user_address(options.user).isNull()) return EX_NOUSER;
  if (const int status = open_configuration(settings.root)) return status;
  return with_filters_of(settings, options.user, true,
                         [&](RulesTransaction& rules) { return add(rules, options); });
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
                  "'[not] [case] TYPE FIELD COMPARATOR VALUE'; repeat it for more tests");
  add_text_option(app, "--then", options->actions, "ACTION",
                  "'move FOLDER', 'copy FOLDER' or delete; repeat it for more actions");
  const auto all = app.add_flag("--all", "All tests must hold (the default)");
  app.add_flag("--any", options->any, "One of the tests must hold")->excludes(all);
  app.add_flag("--disabled", options->disabled, "Store the filter, but do not run it");
  app.add_option("--before", options->before, "Try it before the filter ID instead of last")
      ->type_name("ID");
  return [options](const Settings& settings) { return filter_add(settings, *options); };
}

}  // namespace Quarrow::Command
