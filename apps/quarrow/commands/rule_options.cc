// Reading tests and actions that were typed.
#include "apps/quarrow/commands/rule_options.h"

#include <sysexits.h>

#include "administration/rule_check.h"
#include "administration/rule_text.h"
#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {

using Administration::Refusal;
using MessageFilters::Action;
using MessageFilters::Field;
using MessageFilters::Test;

Option add_text_option(CLI::App& app, const std::string& name, std::vector<std::string>& texts,
                       const std::string& type, const std::string& help) {
  return add_repeated(
             app, name, [&texts](const std::string& text) { texts.push_back(text); }, help)
      .type_name(type);
}

void add_action_folder_dots(CLI::App& app, Delivery::FolderDots& dots) {
  add_folder_dots_option(app, dots,
                         "listescape lets folders have a dot in the name, where mail is delivered "
                         "with the same option");
}

Refusal of_option(const std::string& option, const std::string& text, Refusal refusal) {
  refusal.object = option + " '" + text + "'";
  return refusal;
}

Refusal read_tests(const std::string& option, const std::vector<std::string>& texts,
                   const std::list<Field>& catalogue, std::list<Test>& tests) {
  for (const auto& text : texts) {
    Test test;
    Refusal refusal = Administration::read_test(text, test, catalogue);
    if (!refusal) refusal = Administration::check_test(test);
    if (refusal) return of_option(option, text, refusal);
    tests.push_back(test);
  }
  return {};
}

Refusal read_actions(const std::vector<std::string>& texts, Delivery::FolderDots dots,
                     std::list<Action>& actions) {
  for (const auto& text : texts) {
    Action action;
    Refusal refusal = Administration::read_action(text, action);
    if (!refusal) refusal = Administration::check_action(action, dots);
    if (refusal) return of_option("--then", text, refusal);
    actions.push_back(action);
  }
  return {};
}

int remark_on_actions(const std::list<Action>& actions, int status) {
  if (status != EX_OK) return status;
  const std::string remark = Administration::remark_on(actions);
  return remark.empty() ? status : complain("--then", remark, status);
}

}  // namespace Quarrow::Command
