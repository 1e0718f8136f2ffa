// quarrow history, and quarrow diff: the states of a user's filters, and what differs between them.
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/listing.h"
#include "apps/quarrow/time_text.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesDifference;
using Administration::RulesHistory;
using Administration::RulesState;
using Administration::RulesTransaction;
using List = boost::shared_ptr<MessageFilters::FilterList__>;

struct HistoryOptions {
  std::string user;
  std::string older;
  std::string newer;
  ListingForm form = ListingForm::table;
};

// Local time for people, seconds for programs.
Value time_of_state(const RulesState& state, ListingForm form) {
  if (state.time == 0) return nullptr;
  if (form != ListingForm::table) return state.time;
  return time_text(state.time);
}

// What `list` has that `before` had not, in words; none for the oldest state.
std::vector<std::string> changes_since(const List& before, const List& list) {
  std::vector<std::string> changes;
  if (before && list)
    for (const auto& difference : Administration::rules_differences(*before, *list))
      changes.push_back(difference_text(difference));
  return changes;
}

GuardedOutcome history(const RulesTransaction& rules, const HistoryOptions& options) {
  RulesHistory history;
  Refusal refusal = rules.read_history(history);
  std::vector<std::vector<Value>> rows;
  List before;
  for (const RulesState& state : history.states()) {
    List list;
    const Refusal damage = rules.load_state(state, list);
    if (!refusal) refusal = damage;
    rows.push_back({state.revision, time_of_state(state, options.form), state.who,
                    origin_word(state.origin), changes_since(before, list)});
    before = list;
  }
  Listing listing({"revision", "time", "who", "how", "changes"});
  for (auto row = rows.rbegin(); row != rows.rend(); ++row) listing.add(*row);
  std::ostringstream out;
  listing.print(options.form, out);
  return {refusal, out.str()};
}

// The filters of that revision.
Refusal find_list(const RulesTransaction& rules, const RulesHistory& history,
                  const std::string& revision, List& list) {
  if (const RulesState* const state = history.find(revision)) return rules.load_state(*state, list);
  return rules.no_such_revision(revision);
}

// The filters that are compared: of both revisions; of one and now; or before the last change, and
// now.
Refusal find_lists(const RulesTransaction& rules, const HistoryOptions& options, List& before,
                   List& after) {
  RulesHistory history;
  const Refusal damage = rules.read_history(history);
  const auto& states = history.states();
  const RulesState& last = states.size() > 1 ? states[states.size() - 2] : states.back();
  Refusal refusal = options.older.empty() ? rules.load_state(last, before)
                                          : find_list(rules, history, options.older, before);
  if (!refusal)
    refusal = options.newer.empty() ? rules.load_state(states.back(), after)
                                    : find_list(rules, history, options.newer, after);
  return refusal && damage ? damage : refusal;
}

GuardedOutcome diff(const RulesTransaction& rules, const HistoryOptions& options) {
  List before;
  List after;
  if (const Refusal refusal = find_lists(rules, options, before, after)) return {refusal, ""};
  Listing listing({"filter", "name", "change"});
  for (const RulesDifference& difference : Administration::rules_differences(*before, *after))
    listing.add({difference.id, difference.name, difference.change});
  std::ostringstream out;
  listing.print(options.form, out);
  return {{}, out.str()};
}

}  // namespace

Run declare_history(CLI::App& app) {
  const auto options = std::make_shared<HistoryOptions>();
  add_user_option(app, options->user);
  add_format_option(app, options->form);
  return [options](const Settings& settings) {
    return with_filters_of(settings, options->user,
                           [&](RulesTransaction& rules) { return history(rules, *options); });
  };
}

Run declare_diff(CLI::App& app) {
  const auto options = std::make_shared<HistoryOptions>();
  add_user_option(app, options->user);
  add_option(app, "older", options->older, "A revision instead of that before the last change")
      .type_name("");
  add_option(app, "newer", options->newer, "A revision instead of the present one").type_name("");
  add_format_option(app, options->form);
  return [options](const Settings& settings) {
    return with_filters_of(settings, options->user,
                           [&](RulesTransaction& rules) { return diff(rules, *options); });
  };
}

}  // namespace Quarrow::Command
