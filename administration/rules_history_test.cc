// Histories that are written and read, the ways that undo and redo take, and damaged texts.
#include "administration/rules_history.h"

#include <gtest/gtest.h>

#include "message_filters/rules_revision.h"

namespace Quarrow::Administration {
namespace {

// A state for each letter: small ones are changes, "<" and ">" behind it make it an undo and a
// redo,
// "?" one that was found.
RulesHistory history_of(const std::string& letters) {
  RulesHistory history;
  for (std::size_t i = 0; i < letters.size(); ++i) {
    const char how = i + 1 < letters.size() ? letters[i + 1] : ' ';
    const Origin origin = how == '<'   ? Origin::undo
                          : how == '>' ? Origin::redo
                          : how == '?' ? Origin::found
                                       : Origin::change;
    history.add(make_state(std::string(1, letters[i]), origin, 1, "alice"));
    if (origin != Origin::change) ++i;
  }
  return history;
}

std::string document_of(const RulesState* state) { return state ? state->document : "none"; }

std::string documents(const RulesHistory& history) {
  std::string all;
  for (const RulesState& state : history.states()) all += state.document + ' ';
  return all;
}

constexpr std::size_t all_states = default_history_states;

TEST(RulesHistory, HasItsFormat) {
  RulesHistory history;
  history.add(make_state("abc", Origin::found, 0, ""));
  history.add(make_state("abd", Origin::restore, 1777896000, "Alice B."));
  EXPECT_EQ(
      "quarrow-history 1\n"
      "state a7bb8eb6aae9 1777896000 restore 3 Alice B.\n"
      "abd\n"
      "state b01d877968c6 0 found 3 \n"
      "abc\n",
      history.text(all_states));
}

TEST(RulesHistory, ReadsWhatItWrote) {
  RulesHistory history;
  history.add(make_state("state \n\nquarrow-history 1\n", Origin::change, 5, "a b"));
  history.add(make_state(std::string("\0\xff\n", 3), Origin::undo, 6, ""));
  history.add(make_state("", Origin::redo, 7, "c"));
  const RulesHistory read(history.text(all_states));
  EXPECT_FALSE(read.is_damaged());
  ASSERT_EQ(3U, read.states().size());
  for (std::size_t i = 0; i < 3; ++i) {
    const RulesState& want = history.states()[i];
    const RulesState& state = read.states()[i];
    EXPECT_EQ(want.document, state.document);
    EXPECT_EQ(want.origin, state.origin);
    EXPECT_EQ(want.time, state.time);
    EXPECT_EQ(want.who, state.who);
    EXPECT_EQ(rules_revision(want.document), state.revision);
  }
}

TEST(RulesHistory, NamesNobodyOnTwoLines) {
  EXPECT_EQ("a?b?", make_state("", Origin::change, 1, "a\nb\x1b").who);
}

TEST(RulesHistory, IsReadUpToWhatIsDamaged) {
  const std::string text = history_of("abc").text(all_states);
  const auto with = [&text](const std::string& old, const std::string& now) {
    std::string changed = text;
    return changed.replace(changed.rfind(old), old.size(), now);
  };
  const std::string revision = rules_revision("a");
  for (const std::string& damaged :
       {with("alice\na\n", "alice\nx\n"), with(revision, "0123456789ab"),
        with(" 1 change", " 1 charge"), with(" 1 change", " x change"),
        with(" 1 change", " -1 change"), with(" 1 change", "  change"),
        with(" 1 change", " 99999999999999999999 change"), with(" 1 change", " 1x change"),
        with(" 1 change", " 18446744073709551615 change"), with(revision + ' ', revision + '\n'),
        with("state", "stale"), with("1 alice", "9 alice"),
        with("1 alice", "18446744073709551615 alice"), with(" alice", " al\x1bice"),
        with(" alice\n", ""), with("a\n", "a"), text + "more"}) {
    const RulesHistory history(damaged);
    EXPECT_TRUE(history.is_damaged()) << damaged;
    EXPECT_EQ(damaged == text + "more" ? "a b c " : "b c ", documents(history)) << damaged;
  }
}

TEST(RulesHistory, IsReadWhereverItEnds) {
  const std::string text = history_of("abc").text(all_states);
  for (std::size_t size = 0; size < text.size(); ++size) {
    const std::string read = documents(RulesHistory(text.substr(0, size)));
    EXPECT_TRUE(read.empty() || read == "c " || read == "b c ") << size << ": " << read;
  }
  EXPECT_TRUE(RulesHistory("").is_damaged());
  EXPECT_TRUE(RulesHistory("quarrow-history 2\n").is_damaged());
}

TEST(RulesHistory, DropsTheOldestStatesFirst) {
  const RulesHistory history = history_of("abcde");
  EXPECT_EQ("d e ", documents(RulesHistory(history.text(2))));
  EXPECT_EQ("e ", documents(RulesHistory(history.text(1))));
}

TEST(RulesHistory, TakesNoMoreRoomThanItMay) {
  RulesHistory history;
  const std::size_t third = most_history_bytes / 3;
  for (const char letter : {'a', 'b', 'c'})
    history.add(make_state(std::string(third, letter), Origin::change, 1, ""));
  const std::string text = history.text(all_states);
  EXPECT_LE(text.size(), most_history_bytes);
  const RulesHistory read(text);
  ASSERT_EQ(2U, read.states().size());
  EXPECT_EQ('b', read.states().front().document.front());
}

TEST(RulesHistory, FindsTheNewestStateOfARevision) {
  RulesHistory history;
  for (const std::int64_t time : {1, 2}) history.add(make_state("a", Origin::change, time, ""));
  ASSERT_NE(nullptr, history.find(rules_revision("a")));
  EXPECT_EQ(2, history.find(rules_revision("a"))->time);
  EXPECT_EQ(nullptr, history.find(rules_revision("b")));
  EXPECT_EQ(nullptr, history.find(""));
}

TEST(RulesHistory, KnowsWhereUndoAndRedoLead) {
  const struct {
    const char* history;
    const char* undone;
    const char* redone;
  } cases[] = {
      {"", "none", "none"},         {"a", "none", "none"},   {"ab", "a", "none"},
      {"abc", "b", "none"},         {"abcb<", "a", "c"},      // undo after undo goes further back
      {"abcb<a<", "none", "b"},                               //
      {"abcb<a<b>", "a", "c"},                                // redo goes forward
      {"abcb<a<b>c>", "b", "none"}, {"abcb<d", "b", "none"},  // a change ends the redo line
      {"abcb<db<", "a", "d"},                                 //
      {"abcb<d?", "b", "none"},                               // whoever made it
      {"aba", "b", "none"},      // the same filters again are another state
      {"abaca<", "b", "c"},      //
      {"b<a<", "none", "b"},     // what was undone is not kept any more
      {"b<c>", "b", "none"},     //
      {"c>d", "c", "none"},      //
      {"b<a<b>c", "b", "none"},  //
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.undone, document_of(history_of(c.history).undone())) << c.history;
    EXPECT_EQ(c.redone, document_of(history_of(c.history).redone())) << c.history;
  }
}

}  // namespace
}  // namespace Quarrow::Administration
