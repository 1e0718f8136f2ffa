// The options that make a filter.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_FILTER_OPTIONS_H_
#define QUARROW_APPS_QUARROW_COMMANDS_FILTER_OPTIONS_H_

#include <quarrow/rule_model.h>

#include <list>
#include <string>
#include <vector>

#include "administration/refusal.h"
#include "apps/quarrow/option.h"
#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Command {

// As they are given.
struct FilterOptions {
  std::string name;
  std::vector<std::string> tests;
  std::vector<std::string> actions;
  bool any = false;
};

// Adds the option `name_option` with `help` for the name, and --if, --then, --all and --any. Gives
// them all, that for the name first.
std::vector<Option> add_filter_options(CLI::App& app, const std::string& name_option,
                                       const std::string& help, FilterOptions& options);

// Adds --file, for a filter as a text in a file.
Option add_filter_file_option(CLI::App& app, std::string& file);

// Makes `filter`, which is new, of the options. Refuses what can't be taken by its option;
// `name_option` is that of its name. For `catalogue` see rule_text.h.
Administration::Refusal read_filter(const FilterOptions& options, const std::string& name_option,
                                    Delivery::FolderDots dots,
                                    const std::list<MessageFilters::Field>& catalogue,
                                    MessageFilters::Filter__& filter);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_FILTER_OPTIONS_H_
