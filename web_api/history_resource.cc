// The states that the rules had.
#include <vector>

#include "web_api/refusal_problem.h"
#include "web_api/resources.h"
#include "web_api/rules_work.h"

namespace Quarrow::WebApi {
namespace {

using Administration::Origin;
using Administration::Refusal;
using Administration::RulesDifference;
using Administration::RulesHistory;
using Administration::RulesState;
using Administration::RulesTransaction;
using nlohmann::ordered_json;

// The state without its rules. The time is null where it is not known.
ordered_json view_of_state(const RulesState& state) {
  return {{"revision", state.revision},
          {"time", state.time == 0 ? ordered_json() : ordered_json(state.time)},
          {"who", state.who},
          {"how", origin_word(state.origin)}};
}

// What `after` has that `before` had not, in sentences; nothing where one of them is missing.
ordered_json sentences_between(const FilterListPointer& before, const FilterListPointer& after) {
  return sentences(before && after ? Administration::rules_differences(*before, *after)
                                   : std::vector<RulesDifference>());
}

// What went wrong and does not keep the rest from being shown.
ordered_json remarks_on(const Refusal& refusal) {
  ordered_json remarks = ordered_json::array();
  if (refusal) remarks.push_back(refusal.reason);
  return remarks;
}

Http::Response list_states(const RulesTransaction& rules) {
  RulesHistory history;
  Refusal damage = rules.read_history(history);
  ordered_json states = ordered_json::array();
  FilterListPointer before;
  for (const RulesState& state : history.states()) {
    FilterListPointer list;
    const Refusal unreadable = rules.load_state(state, list);
    if (!damage) damage = unreadable;
    ordered_json view = view_of_state(state);
    view["changes"] = sentences_between(before, list);
    states.insert(states.begin(), view);
    before = list;
  }
  return json_answer(200, {{"states", states}, {"remarks", remarks_on(damage)}}, rules.revision());
}

Http::Response show(const OpenRules& open, const std::string& revision) {
  RulesHistory history;
  const Refusal damage = open.rules.read_history(history);
  const RulesState* const state = history.find(revision);
  if (!state) return refused(damage ? damage : open.rules.no_such_revision(revision));
  FilterListPointer list;
  if (const Refusal unreadable = open.rules.load_state(*state, list)) return refused(unreadable);
  ordered_json view = view_of_state(*state);
  view["filters"] = view_of(list, open.surroundings);
  view["changes_since"] = sentences_between(list, open.rules.filters().filters);
  return json_answer(200, view, open.rules.revision());
}

}  // namespace

Http::Response list_history(const Call& call) {
  return with_rules(
      call, [](const OpenRules& open) { return list_states(open.rules); });
}

Http::Response show_state(const Call& call) {
  return with_rules(
      call, [&](const OpenRules& open) { return show(open, call.item); });
}

Http::Response undo_change(const Call& call) {
  return change_rules(
      call, {200, Origin::undo}, [](RulesTransaction& rules) -> Edited { return {rules.undo()}; });
}

Http::Response redo_change(const Call& call) {
  return change_rules(
      call, {200, Origin::redo}, [](RulesTransaction& rules) -> Edited { return {rules.redo()}; });
}

Http::Response restore_state(const Call& call) {
  const ordered_json& body = call.body;
  if (!body.is_object() || body.size() != 1 || !body.contains("revision") ||
      !body["revision"].is_string())
    return not_taken({{"/revision", "", "must be a revision, and the only member"}});
  return change_rules(call, {}, [&](RulesTransaction& rules) -> Edited {
    return {rules.restore(body["revision"].get<std::string>())};
  });
}

}  // namespace Quarrow::WebApi
