// Options, and the texts in them.
#include "apps/quarrow/commands/filter_options.h"

#include "administration/rule_check.h"
#include "apps/quarrow/commands/rule_options.h"

namespace Quarrow::Command {
using Administration::Refusal;
using MessageFilters::Filter__;

std::vector<Option> add_filter_options(CLI::App& app, const std::string& name_option,
                                       const std::string& help, FilterOptions& options) {
  std::vector<Option> added;
  added.push_back(add_option(app, name_option, options.name, help).type_name("TEXT"));
  added.push_back(add_text_option(app, "--if", options.tests, "TEST",
                                  "Such as 'subject contains quarterly' or 'size over 2 MB', see "
                                  "quarrow-rules(5); repeat it for more tests"));
  added.push_back(
      add_text_option(app, "--then", options.actions, "ACTION",
                      "'move FOLDER', 'copy FOLDER' or delete; repeat it for more actions"));
  added.push_back(add_flag(app, "--all", "All tests must hold (the default)"));
  added.push_back(
      add_flag(app, "--any", options.any, "One of the tests must hold").excludes(added.back()));
  return added;
}

Option add_filter_file_option(CLI::App& app, std::string& file) {
  return add_option(app, "--file", file,
                    "Take the filter from this file, as filter show writes it; - is standard input")
      .type_name("FILE");
}

Refusal read_filter(const FilterOptions& options, const std::string& name_option,
                    Delivery::FolderDots dots, const std::list<MessageFilters::Field>& catalogue,
                    Filter__& filter) {
  filter.name = options.name;
  filter.relation = options.any ? Filter__::ANYOF : Filter__::ALLOF;
  if (const Refusal refusal = Administration::check_name(options.name))
    return of_option(name_option, options.name, refusal);
  if (const Refusal refusal = read_tests("--if", options.tests, catalogue, filter.tests))
    return refusal;
  return read_actions(options.actions, dots, filter.actions);
}

}  // namespace Quarrow::Command
