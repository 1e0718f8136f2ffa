// States, and texts that are none.
#include "refiling/refiling_state.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace Quarrow::Refiling {
namespace {

using nlohmann::ordered_json;

RefilingState full_state() {
  RefilingState state;
  state.stage = Stage::filed;
  state.folder = "Work/Reports";
  state.rule = "r\xc3\xa4 \"x\"\n";
  state.revision = "0123456789ab";
  state.started = 1770000000;
  state.ended = 1770000007;
  state.done = 5;
  state.total = 7;
  state.counts[{"r", Fate::move, "A"}] = 3;
  state.counts[{"", Fate::no_rule, ""}] = 2;
  state.failures = 1;
  state.failure_examples = {"m: why"};
  state.reason = "because";
  state.key = "key";
  return state;
}

TEST(RefilingState, ComesBackFromItsText) {
  const RefilingState state = full_state();
  const auto back = state_in(text_of(state));
  ASSERT_TRUE(back);
  EXPECT_EQ(text_of(state), text_of(*back));
  EXPECT_EQ(state.rule, back->rule);
  EXPECT_EQ(state.counts, back->counts);
  EXPECT_EQ("key", back->key);
  ASSERT_TRUE(state_in(text_of({})));
  EXPECT_EQ(Stage::none, state_in(text_of({}))->stage);
}

TEST(RefilingState, IsShownWithoutItsKey) {
  const ordered_json wanted = {{"state", "filed"},
                               {"folder", "Work/Reports"},
                               {"rule", "r\xc3\xa4 \"x\"\n"},
                               {"revision", "0123456789ab"},
                               {"started", 1770000000},
                               {"ended", 1770000007},
                               {"done", 5},
                               {"total", 7},
                               {"counts",
                                {{{"rule", ""}, {"fate", "no_rule"}, {"folder", ""}, {"count", 2}},
                                 {{"rule", "r"}, {"fate", "move"}, {"folder", "A"}, {"count", 3}}}},
                               {"failures", 1},
                               {"failure_examples", {"m: why"}},
                               {"reason", "because"}};
  EXPECT_EQ(wanted, json_of(full_state()));
}

TEST(RefilingState, HasAWordForEachStageAndFate) {
  for (int stage = 0; stage <= static_cast<int>(Stage::failed); ++stage) {
    RefilingState state;
    state.stage = static_cast<Stage>(stage);
    EXPECT_EQ(state.stage, state_in(text_of(state))->stage);
    EXPECT_EQ(stage < 3, is_going_on(state.stage));
  }
  EXPECT_EQ("interrupted", [] {
    RefilingState state;
    state.stage = Stage::interrupted;
    return json_of(state)["state"].get<std::string>();
  }());
  for (int fate = 0; fate <= static_cast<int>(Fate::not_evaluated); ++fate) {
    RefilingState state;
    state.counts[{"", static_cast<Fate>(fate), ""}] = 1;
    EXPECT_EQ(state.counts, state_in(text_of(state))->counts);
  }
}

TEST(RefilingState, TakesBytesThatAreNoText) {
  RefilingState state;
  state.failure_examples = {"\xff: why"};
  EXPECT_EQ("\xef\xbf\xbd: why", state_in(text_of(state))->failure_examples[0]);
}

TEST(RefilingState, IsInNoOtherText) {
  const std::string text = text_of(full_state());
  for (const char* const other : {"", "{", "[]", "null", "{}", "7", "{\"state\":\"filed\"}"})
    EXPECT_FALSE(state_in(other)) << other;
  EXPECT_FALSE(state_in(text.substr(0, text.size() / 2)));
  const ordered_json json = ordered_json::parse(text);
  for (const auto& member : json.items()) {
    ordered_json wrong = json;
    wrong[member.key()] = ordered_json::object({{"x", true}});
    EXPECT_FALSE(state_in(wrong.dump())) << member.key();
    wrong.erase(member.key());
    EXPECT_FALSE(state_in(wrong.dump())) << member.key();
  }
}

TEST(RefilingState, HasWholeNumbersThatFit) {
  const ordered_json json = ordered_json::parse(text_of(full_state()));
  const auto is_read = [](const ordered_json& state) { return state_in(state.dump()).has_value(); };
  for (const char* const member : {"started", "ended", "done", "total", "failures"}) {
    for (const auto& wrong : {ordered_json(1e300), ordered_json(1.5), ordered_json(true)}) {
      ordered_json state = json;
      state[member] = wrong;
      EXPECT_FALSE(is_read(state)) << member << ": " << wrong;
    }
    ordered_json state = json;
    state[member] = -1;
    EXPECT_EQ(std::string(member) == "started" || std::string(member) == "ended", is_read(state));
    state[member] = UINT64_MAX;
    EXPECT_NE(std::string(member) == "started" || std::string(member) == "ended", is_read(state));
  }
  ordered_json state = json;
  state["counts"][0]["count"] = 1e30;
  EXPECT_FALSE(is_read(state));
}

}  // namespace
}  // namespace Quarrow::Refiling
