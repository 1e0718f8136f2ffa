// Filters as rows of a listing.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_FILTER_ROWS_H_
#define QUARROW_APPS_QUARROW_COMMANDS_FILTER_ROWS_H_

#include <quarrow/rule_model.h>

#include <functional>
#include <memory>
#include <string>

#include "apps/quarrow/commands/filter_command.h"

namespace Quarrow::Command {

// Which filters are shown, and how.
struct FilterListing {
  UserSelection users;
  ListingForm form = ListingForm::table;
  // the filters of one user's that are shown, or a refusal
  std::function<Administration::Refusal(
      Administration::RulesTransaction&,
      std::vector<boost::shared_ptr<MessageFilters::Filter__>>& filters)>
      choose;
};

// Prints a row for each of the filters that are chosen; complains of what could not be read beside
// them. Gives the exit status.
int list_rows(const Settings& settings, const FilterListing& listing);

// Adds the option -f, --format, where there is another form without it. Whether it was given.
std::function<bool()> add_optional_format(CLI::App& app, ListingForm& form);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_FILTER_ROWS_H_
