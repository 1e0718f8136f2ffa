// Tests and actions as options of a subcommand.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_RULE_OPTIONS_H_
#define QUARROW_APPS_QUARROW_COMMANDS_RULE_OPTIONS_H_

#include <quarrow/rule_model.h>

#include <list>
#include <string>
#include <vector>

#include "administration/refusal.h"
#include "apps/quarrow/commands/command.h"

namespace Quarrow::Command {

// Adds an option that takes a text each time it is given.
Option add_text_option(CLI::App& app, const std::string& name, std::vector<std::string>& texts,
                       const std::string& type, const std::string& help);

// Adds --folder-dots, for the folders of actions.
void add_action_folder_dots(CLI::App& app, Delivery::FolderDots& dots);

// The refusal of what was given with `option`.
Administration::Refusal of_option(const std::string& option, const std::string& text,
                                  Administration::Refusal refusal);

// Appends the tests in the texts that were given with `option`, each of which is checked. For
// `catalogue` see rule_text.h.
Administration::Refusal read_tests(const std::string& option, const std::vector<std::string>& texts,
                                   const std::list<MessageFilters::Field>& catalogue,
                                   std::list<MessageFilters::Test>& tests);

// Appends the actions in the texts that were given with --then, likewise.
Administration::Refusal read_actions(const std::vector<std::string>& texts,
                                     Delivery::FolderDots dots,
                                     std::list<MessageFilters::Action>& actions);

// After a change that came to `status`, says what the user may not expect of these actions. Gives
// the status back.
int remark_on_actions(const std::list<MessageFilters::Action>& actions, int status);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_RULE_OPTIONS_H_
