// quarrow filter move: another place in the order in which filters are tried.
#include <memory>

#include "administration/filter_reference.h"
#include "apps/quarrow/commands/filter_command.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;

// Where the filter goes: one of these is given.
struct FilterMoveOptions {
  std::string user;
  std::string filter;
  std::string before;
  std::string after;
  bool up = false;
  bool down = false;
  bool first = false;
  bool last = false;
  Administration::ChangeMode mode;
};

Refusal move_beside(RulesTransaction& rules, std::int32_t id, const FilterMoveOptions& options) {
  const bool before = !options.before.empty();
  boost::shared_ptr<Filter__> target;
  const Refusal refusal =
      Administration::find_filter(rules.filters(), before ? options.before : options.after, target);
  if (refusal) return refusal;
  FilterList__& list = *rules.filters().filters;
  (void)(before ? list.move_before(id, target->id) : list.move_after(id, target->id));
  return {};  // both filters are there
}

GuardedOutcome move(RulesTransaction& rules, std::int32_t id, const FilterMoveOptions& options) {
  FilterList__& list = *rules.filters().filters;
  const std::size_t all = list.filters.size();
  if (options.up || options.first)
    (void)list.move_up(id, options.up ? 1 : all);
  else if (options.down || options.last)
    (void)list.move_down(id, options.down ? 1 : all);
  else
    return {move_beside(rules, id, options), ""};
  return {};
}

// Adds the options, of which one must be given.
void add_places(CLI::App& app, FilterMoveOptions& options) {
  const std::vector<Option> places = {
      add_option(app, "--before", options.before, "Try it before this filter").type_name("OTHER"),
      add_option(app, "--after", options.after, "Try it after this filter").type_name("OTHER"),
      add_flag(app, "--up", options.up, "Try it one place earlier"),
      add_flag(app, "--down", options.down, "Try it one place later"),
      add_flag(app, "--first", options.first, "Try it before all others"),
      add_flag(app, "--last", options.last, "Try it after all others")};
  for (auto place = places.begin(); place != places.end(); ++place)
    for (auto other = places.begin(); other != place; ++other) place->excludes(*other);
  on_parsed(app, [places] {
    for (const Option& place : places)
      if (place.is_given()) return;
    refuse_missing("one of --before, --after, --up, --down, --first and --last");
  });
}

}  // namespace

Run declare_filter_move(CLI::App& app) {
  const auto options = std::make_shared<FilterMoveOptions>();
  add_user_option(app, options->user);
  add_filter_option(app, options->filter);
  add_places(app, *options);
  add_change_options(app, options->mode);
  return [options](const Settings& settings) {
    return change_filter_of(settings, UserSelection{options->user}, options->filter, options->mode,
                            [options](RulesTransaction& rules, const Filter__& filter) {
                              return move(rules, filter.id, *options);
                            });
  };
}

}  // namespace Quarrow::Command
