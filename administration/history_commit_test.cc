// The history that commits leave, the ways back in it, and what users may put in its place.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <ctime>
#include <vector>

#include "administration/guarded_rules.h"
#include "administration/rules_replacement.h"
#include "administration/rules_text.h"
#include "administration/rules_transaction_test_support.h"
#include "message_filters/rules_revision.h"
#include "message_filters/user_files.h"
#include "system/child_process_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::FilterList__;
using MessageFilters::make_rule;
using MessageFilters::subject_test;

class HistoryCommit : public RulesTransactionTest {
 protected:
  // Adds a rule of that name.
  void add(const std::string& name, const CommitConsent& consent = {}) const {
    RulesTransaction rules(alice);
    EXPECT_EQ("", said(rules.open()));
    EXPECT_EQ("", said(rules.add(make_rule(name, subject_test()), 0)));
    EXPECT_EQ("", said(rules.commit(consent)));
  }

  // Takes a step in the history and commits; gives the refusal.
  Refusal step(Refusal (RulesTransaction::*way)()) const {
    RulesTransaction rules(alice);
    Refusal refusal = rules.open();
    if (!refusal) refusal = (rules.*way)();
    return refusal ? refusal : rules.commit();
  }
  Refusal undo() const { return step(&RulesTransaction::undo); }
  Refusal redo() const { return step(&RulesTransaction::redo); }

  Refusal restore(const std::string& revision) const {
    RulesTransaction rules(alice);
    Refusal refusal = rules.open();
    if (!refusal) refusal = rules.restore(revision);
    return refusal ? refusal : rules.commit();
  }

  std::string revision() const {
    RulesTransaction rules(alice);
    EXPECT_EQ("", said(rules.open()));
    return rules.revision();
  }

  // The states as they are read, and the refusal.
  Refusal read(RulesHistory& history) const {
    RulesTransaction rules(alice);
    const Refusal refusal = rules.open();
    return refusal ? refusal : rules.read_history(history);
  }

  // The words for how the states came to be.
  std::string origins() const {
    RulesHistory history;
    EXPECT_EQ("", said(read(history)));
    std::string all;
    for (const RulesState& state : history.states()) all += origin_word(state.origin) + ' ';
    return all;
  }

  // What is told of a commit that adds a rule.
  Refusal remark_on_adding(const std::string& name) const {
    RulesTransaction rules(alice);
    EXPECT_EQ("", said(rules.open()));
    EXPECT_EQ("", said(rules.add(make_rule(name, subject_test()), 0)));
    EXPECT_EQ("", said(rules.commit()));
    return rules.remark();
  }

  const std::string history_ = rules_history_of(script_);
};

TEST_F(HistoryCommit, BeginsWithTheStateBeforeTheFirstChange) {
  add("a");
  RulesHistory history;
  ASSERT_EQ("", said(read(history)));
  ASSERT_EQ(2U, history.states().size());
  const RulesState& first = history.states()[0];
  EXPECT_EQ(document_text(FilterList__::Create()), first.document);
  EXPECT_EQ(Origin::found, first.origin);
  EXPECT_EQ(0, first.time);
  EXPECT_EQ("", first.who);
  EXPECT_EQ(content_of(document_), history.states()[1].document);
}

TEST_F(HistoryCommit, BeginsWithTheRulesOfAnEarlierVersion) {
  add("a");
  std::filesystem::remove(history_);
  const std::string earlier = content_of(document_);
  struct stat status {};
  ASSERT_EQ(0, stat(document_.c_str(), &status));
  add("b");
  RulesHistory history;
  ASSERT_EQ("", said(read(history)));
  ASSERT_EQ(2U, history.states().size());
  EXPECT_EQ(earlier, history.states()[0].document);
  EXPECT_EQ(status.st_mtime, history.states()[0].time);
  EXPECT_EQ("", said(undo()));
  EXPECT_EQ("a ", names());
}

TEST_F(HistoryCommit, SaysWhoAndWhen) {
  const std::time_t before = std::time(nullptr);
  CommitConsent consent;
  consent.author = "Carol";
  add("a", consent);
  RulesHistory history;
  ASSERT_EQ("", said(read(history)));
  EXPECT_EQ("Carol", history.states().back().who);
  EXPECT_LE(before, history.states().back().time);
  EXPECT_GE(std::time(nullptr), history.states().back().time);
}

TEST_F(HistoryCommit, NamesThePersonBehindSudoAlthoughItTakesOnTheRightsOfTheOwner) {
  if (geteuid() != 0) GTEST_SKIP() << "only root takes on the rights of others";
  ASSERT_EQ(0, chown(folder_.c_str(), 65534, 65534));
  setenv("SUDO_USER", "carol", 1);
  const Refusal refusal = in_child([] {
    RulesTransaction rules(alice);
    const Refusal unopened = rules.open();
    return unopened ? unopened : add_rule(rules);
  });
  unsetenv("SUDO_USER");
  EXPECT_EQ("", said(refusal));
  const std::string text = content_of(history_);
  EXPECT_NE(std::string::npos, text.find(" carol\n")) << text;
}

TEST_F(HistoryCommit, IsForTheOwnerAlone) {
  add("a");
  struct stat status {};
  ASSERT_EQ(0, stat(history_.c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 07777U);
}

TEST_F(HistoryCommit, LeavesNoTraceOfACommitThatChangesNothing) {
  add("a");
  const std::string before = content_of(history_);
  edit([](RulesTransaction& /*rules*/) { return Refusal(); });
  EXPECT_EQ(before, content_of(history_));
}

TEST_F(HistoryCommit, KeepsAsManyStatesAsItIsTold) {
  CommitConsent consent;
  consent.history_states = 2;
  for (const char* name : {"a", "b", "c"}) add(name, consent);
  EXPECT_EQ("change change ", origins());
  EXPECT_EQ("", said(undo()));
  EXPECT_EQ("a b ", names());
}

TEST_F(HistoryCommit, TakesNoteOfRulesThatAnotherWriterLeft) {
  add("a");
  const std::string first = content_of(document_);
  const std::string first_script = content_of(script_);
  add("b");
  write_file(document_, first);
  write_file(script_, first_script);
  add("c");
  EXPECT_EQ("found change change found change ", origins());
}

TEST_F(HistoryCommit, IsGoneBackAndForth) {
  for (const char* name : {"a", "b", "c"}) add(name);
  EXPECT_EQ("", said(undo()));
  EXPECT_EQ("a b ", names());
  EXPECT_EQ("", said(undo()));
  EXPECT_EQ("a ", names());
  EXPECT_EQ("", said(redo()));
  EXPECT_EQ("a b ", names());
  EXPECT_EQ("", said(undo()));
  EXPECT_EQ("", said(undo()));
  EXPECT_EQ("", names());
  EXPECT_EQ("found change change change undo undo redo undo undo ", origins());
  expect_refusal(Kind::nothing_to_undo, "alice@example.org", "there is no change to undo", undo());
}

TEST_F(HistoryCommit, RedoesNothingBehindAChange) {
  for (const char* name : {"a", "b"}) add(name);
  EXPECT_EQ("", said(undo()));
  add("c");
  expect_refusal(Kind::nothing_to_undo, "alice@example.org",
                 "there is nothing to redo; only an undo can be redone, until the next change",
                 redo());
  EXPECT_EQ("a c ", names());
}

TEST_F(HistoryCommit, RestoresARevisionAsAChange) {
  add("a");
  const std::string first = revision();
  add("b");
  EXPECT_EQ("", said(restore(first)));
  EXPECT_EQ("a ", names());
  EXPECT_EQ(first, revision());
  EXPECT_EQ("found change change restore ", origins());
  EXPECT_EQ("", said(undo()));
  EXPECT_EQ("a b ", names());
  expect_refusal(Kind::no_revision, "alice@example.org",
                 "the history holds no revision \"0123456789ab\"", restore("0123456789ab"));
}

TEST_F(HistoryCommit, HasTheSameRevisionForNoRulesAndAnEmptyList) {
  const std::string none = revision();
  EXPECT_EQ(rules_revision(document_text(FilterList__::Create())), none);
  add("a");
  EXPECT_NE(none, revision());
  EXPECT_EQ(rules_revision(content_of(document_)), revision());
  edit([](RulesTransaction& rules) { return rules.remove(1); });
  EXPECT_EQ(none, revision());
}

TEST_F(HistoryCommit, RefusesAChangeOfOtherRulesThanAreThere) {
  const std::string none = revision();
  CommitConsent consent;
  consent.if_revision = none;
  add("a", consent);
  const std::string document = content_of(document_);
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open()));
  ASSERT_EQ("", said(rules.add(make_rule("b", subject_test()), 0)));
  const std::string present = rules.revision();
  expect_refusal(Kind::outdated, "alice@example.org",
                 "nothing was changed, since the rules are of revision " + present + ", not of " +
                     none + "; meanwhile: filter 1 \"a\": added",
                 rules.commit(consent));
  consent.if_revision = "0123456789ab";
  expect_refusal(Kind::outdated, "alice@example.org",
                 "nothing was changed, since the rules are of revision " + present +
                     ", not of 0123456789ab, which the history does not hold",
                 rules.commit(consent));
  EXPECT_EQ(document, content_of(document_));
}

TEST_F(HistoryCommit, TellsOfDamageAndChangesTheRulesNevertheless) {
  add("a");
  const std::string whole = content_of(history_);
  write_file(history_, whole.substr(0, whole.size() - 5));
  RulesHistory history;
  expect_refusal(Kind::damaged_history, history_,
                 "damaged history; states that can still be read: 1", read(history));
  EXPECT_EQ(1U, history.states().size());
  expect_refusal(Kind::damaged_history, history_,
                 "damaged history; states that can still be read: 1; what can't be read "
                 "is lost with this change",
                 remark_on_adding("b"));
  EXPECT_EQ("a b ", names());
  EXPECT_EQ("change change ", origins());
}

TEST_F(HistoryCommit, FollowsNoLinkAndWaitsForNoPipe) {
  const TemporaryFolder elsewhere;
  const std::string other = elsewhere.write("other", "text");
  for (const std::string& name : {history_, history_ + ".new"}) {
    std::filesystem::remove(name);
    std::filesystem::create_symlink(other, name);
    add("a");
    EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(history_)));
    EXPECT_EQ("text", content_of(other));
  }
  std::filesystem::remove(history_);
  ASSERT_EQ(0, mkfifo(history_.c_str(), 0600));
  EXPECT_EQ(Kind::damaged_history, remark_on_adding("b").kind);
  EXPECT_TRUE(std::filesystem::is_regular_file(history_));
}

TEST_F(HistoryCommit, LeavesAFolderInItsPlaceAndChangesTheRules) {
  for (const std::string& name : {history_, history_ + ".new"}) {
    std::filesystem::remove(history_);
    std::filesystem::create_directories(name + "/full");
    expect_refusal(Kind::damaged_history, name,
                   "is a folder: the change is not in the history; remove the folder",
                   remark_on_adding("a"));
    std::filesystem::remove_all(name);
  }
  EXPECT_EQ("a a ", names());
  EXPECT_EQ("found ", origins());
}

TEST_F(HistoryCommit, KeepsAHistoryThatCantBeReadNow) {
  // root itself may read all
  ASSERT_EQ(0, geteuid() == 0 ? chown(folder_.c_str(), 65534, 65534) : 0);
  const auto commit = [] {
    RulesTransaction rules(alice);
    Refusal refusal = rules.open();
    if (!refusal) refusal = add_rule(rules);
    return refusal ? refusal : rules.remark();
  };
  EXPECT_EQ("", said(in_child(commit)));
  const std::string before = content_of(history_);
  std::filesystem::permissions(history_, std::filesystem::perms::none);
  expect_refusal(Kind::not_permitted, history_,
                 "Permission denied; the change is not in the history", in_child(commit));
  std::filesystem::permissions(history_, std::filesystem::perms(0600));
  EXPECT_EQ(before, content_of(history_));
}

TEST_F(HistoryCommit, SurvivesAStateThatEndsTheProcess) {
  add("a");
  RulesHistory forged;
  const std::string bad = "<?xml version=\"1.0\"?><filters><filter id=\"1\"/></filters>";
  forged.add(make_state(bad, Origin::change, 1, ""));
  forged.add(make_state(content_of(document_), Origin::change, 1, ""));
  write_file(history_, forged.text(default_history_states));
  expect_refusal(Kind::damaged_history, history_,
                 "the state of revision " + rules_revision(bad) + " can't be loaded", undo());
  add("b");
  EXPECT_EQ("a b ", names());
}

TEST_F(HistoryCommit, TakesNoDraftThatIsNotOfTheRulesInPlace) {
  add("a");
  const std::string before = content_of(history_);
  RulesHistory other;
  other.add(make_state("other", Origin::change, 1, ""));
  for (const std::string& draft :
       {other.text(default_history_states), std::string(), before.substr(0, 20)}) {
    write_file(history_ + ".new", draft);
    EXPECT_EQ("a ", names());
    EXPECT_EQ(before, content_of(history_));
    EXPECT_FALSE(std::filesystem::exists(history_ + ".new"));
  }
}

TEST_F(HistoryCommit, LosesNoneOfManyChangesAtOnce) {
  constexpr int processes = 8;
  std::vector<pid_t> changes;
  for (int started = 0; started < processes; ++started)
    changes.push_back(start_child([] {
      RulesTransaction rules(alice);
      return rules.open() || add_rule(rules) ? 1 : 0;
    }));
  for (const pid_t change : changes) EXPECT_EQ(0, wait_for(change).status);
  RulesHistory history;
  ASSERT_EQ("", said(read(history)));
  ASSERT_EQ(processes + 1U, history.states().size());
  std::size_t filters = 0;
  for (const RulesState& state : history.states())
    EXPECT_EQ(filters++, list_of(state.document)->filters.size());
}

TEST_F(HistoryCommit, PassesItsRemarkOnFromTheGuardedProcess) {
  add("a");
  write_file(history_, "nonsense");
  const GuardedOutcome outcome =
      with_rules_of(alice, [](RulesTransaction& rules) -> GuardedOutcome {
        return {add_rule(rules), "done"};
      });
  EXPECT_EQ("", said(outcome.refusal));
  EXPECT_EQ("done", outcome.answer);
  EXPECT_EQ(Kind::damaged_history, outcome.remark.kind);
  EXPECT_EQ(history_, outcome.remark.object);
}

}  // namespace
}  // namespace Quarrow::Administration
