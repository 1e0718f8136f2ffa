// States as JSON.
#include "refiling/refiling_state.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <type_traits>

namespace Quarrow::Refiling {
namespace {

using nlohmann::ordered_json;

// By Stage.
const char* const stage_words[] = {"planning", "filing", "undoing", "none",        "planned",
                                   "filed",    "undone", "stopped", "interrupted", "failed"};

// By Fate.
const char* const fate_words[] = {"move",      "copy",     "in_place",     "no_rule",
                                  "discarded", "rejected", "not_evaluated"};

template <typename Value, std::size_t size>
Value value_of(const std::string& word, const char* const (&words)[size]) {
  const auto found = std::find(std::begin(words), std::end(words), word);
  if (found == std::end(words)) throw std::invalid_argument(word);
  return static_cast<Value>(found - std::begin(words));
}

template <typename Value>
ordered_json json_or_null(const std::optional<Value>& value) {
  return value ? ordered_json(*value) : ordered_json();
}

// A whole number of the type `Value`. The JSON library takes any number, and leaves it undefined
// what becomes of one that is too large.
template <typename Value>
Value number_in(const ordered_json& json) {
  constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<Value>::max());
  const bool fits = json.is_number_unsigned() ? json.get<std::uint64_t>() <= most
                                              : std::is_signed_v<Value> && json.is_number_integer();
  if (!fits) throw std::invalid_argument("number");
  return json.get<Value>();
}

ordered_json json_of(const PlanSummary& counts) {
  ordered_json rows = ordered_json::array();
  for (const auto& [key, count] : counts) {
    const auto& [rule, fate, folder] = key;
    rows.push_back({{"rule", rule},
                    {"fate", fate_words[static_cast<int>(fate)]},
                    {"folder", folder},
                    {"count", count}});
  }
  return rows;
}

PlanSummary counts_in(const ordered_json& rows) {
  PlanSummary counts;
  for (const auto& row : rows) {
    const Fate fate = value_of<Fate>(row.at("fate"), fate_words);
    counts[{row.at("rule"), fate, row.at("folder")}] = number_in<std::uint64_t>(row.at("count"));
  }
  return counts;
}

RefilingState state_of(const ordered_json& json) {
  RefilingState state;
  state.stage = value_of<Stage>(json.at("state"), stage_words);
  state.folder = json.at("folder");
  if (!json.at("rule").is_null()) state.rule = json.at("rule").get<std::string>();
  state.revision = json.at("revision");
  state.started = number_in<std::time_t>(json.at("started"));
  if (!json.at("ended").is_null()) state.ended = number_in<std::time_t>(json.at("ended"));
  state.done = number_in<std::uint64_t>(json.at("done"));
  state.total = number_in<std::uint64_t>(json.at("total"));
  state.counts = counts_in(json.at("counts"));
  state.failures = number_in<std::uint64_t>(json.at("failures"));
  state.failure_examples = json.at("failure_examples").get<std::vector<std::string>>();
  state.reason = json.at("reason");
  state.key = json.at("key");
  return state;
}

}  // namespace

bool is_going_on(Stage stage) { return stage < Stage::none; }

ordered_json json_of(const RefilingState& state) {
  return {{"state", stage_words[static_cast<int>(state.stage)]},
          {"folder", state.folder},
          {"rule", json_or_null(state.rule)},
          {"revision", state.revision},
          {"started", state.started},
          {"ended", json_or_null(state.ended)},
          {"done", state.done},
          {"total", state.total},
          {"counts", json_of(state.counts)},
          {"failures", state.failures},
          {"failure_examples", state.failure_examples},
          {"reason", state.reason}};
}

std::string text_of(const RefilingState& state) {
  ordered_json json = json_of(state);
  json["key"] = state.key;
  return json.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

// The user may have put anything into the file.
std::optional<RefilingState> state_in(const std::string& text) {
  try {
    return state_of(ordered_json::parse(text));
  } catch (const ordered_json::exception&) {
    return std::nullopt;
  } catch (const std::invalid_argument&) {
    return std::nullopt;
  }
}

}  // namespace Quarrow::Refiling
