// A commit that is looked at, and killed, at each of its system calls.
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <algorithm>
#include <string>
#include <vector>

#include "administration/administration_test_support.h"
#include "administration/rules_transaction.h"
#include "message_filters/user_files.h"
#include "system/traced_process_test_support.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::make_rule;
using MessageFilters::subject_test;

const EmailAddress bob("bob@example.org");

// Both files of a user.
struct Files {
  std::string document;
  std::string script;

  bool operator==(const Files& other) const {
    return document == other.document && script == other.script;
  }
};

void add_rule(const EmailAddress& user) {
  RulesTransaction rules(user);
  ASSERT_EQ("", said(rules.open()));
  ASSERT_EQ("", said(rules.add(make_rule("Rule", subject_test()), 0)));
  ASSERT_EQ("", said(rules.commit()));
}

Files files_of(const EmailAddress& user) {
  return {content_of(rules_document(user.address())), content_of(rules_script(user.address()))};
}

std::string history_file_of(const EmailAddress& user) {
  return rules_history_of(rules_script(user.address()));
}

// All states, the present one last, once the next transaction was there.
std::vector<std::string> history_of(const EmailAddress& user) {
  RulesTransaction rules(user);
  EXPECT_EQ("", said(rules.open()));
  RulesHistory history;
  EXPECT_EQ("", said(rules.read_history(history)));
  std::vector<std::string> states;
  for (const RulesState& state : history.states())
    states.push_back(origin_word(state.origin) + state.document);
  return states;
}

// What the user has before.
enum class OldRules { none, rules, rules_without_history };

class InterruptedCommit : public testing::TestWithParam<OldRules> {
 protected:
  InterruptedCommit() {
    std::filesystem::create_directories(root_.file("example.org/bob"));
    if (GetParam() != OldRules::none) add_rule(bob);
    if (GetParam() == OldRules::rules_without_history)
      std::filesystem::remove(history_file_of(bob));
    old_ = files_of(bob);
    old_history_ = history_of(bob);
    if (GetParam() == OldRules::rules) old_history_file_ = content_of(history_file_of(bob));
    add_rule(bob);
    new_ = files_of(bob);
    new_history_ = old_history_;
    new_history_.push_back("change" + new_.document);
  }

  // Leaves the user with the old rules, and nothing else.
  void put_old_rules() const {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directory(folder_);
    if (GetParam() == OldRules::none) return;
    write_file(rules_document(alice.address()), old_.document);
    write_file(rules_script(alice.address()), old_.script);
    if (GetParam() == OldRules::rules) write_file(history_file_of(alice), old_history_file_);
  }

  void expect_whole_script() const {
    const std::string script = files_of(alice).script;
    EXPECT_TRUE(script == old_.script || script == new_.script) << script;
  }

  // The files once the next transaction was there.
  Files files_afterwards() const {
    EXPECT_EQ("", said(RulesTransaction(alice).open()));
    return files_of(alice);
  }

  // Whether there are no drafts.
  bool is_clear() const {
    const std::filesystem::directory_iterator all(folder_);
    return std::none_of(begin(all), end(all),
                        [](const auto& entry) { return entry.path().extension() == ".new"; });
  }

  // Whether the rules are new, and the history is still only a draft.
  bool is_history_late() const {
    return files_of(alice) == new_ && std::filesystem::exists(history_file_of(alice) + ".new");
  }

  const TemporaryRoot root_;
  const std::string folder_ = root_.file("example.org/alice");
  Files old_;
  Files new_;
  std::string old_history_file_;
  std::vector<std::string> old_history_;
  std::vector<std::string> new_history_;
};

TEST_P(InterruptedCommit, LeavesAScriptAtEachMoment) {
  put_old_rules();
  TracedProcess commit([] { add_rule(alice); });
  if (!commit.is_running()) GTEST_SKIP() << "processes can't be traced here";
  while (commit.step()) expect_whole_script();
  EXPECT_EQ(new_, files_of(alice));
}

TEST_P(InterruptedCommit, LeavesTheOldRulesOrTheNewOnesWheneverItIsKilled) {
  bool was_old = false;
  bool was_new = false;
  for (int stops = 0, done = 0; done == 0; ++stops) {
    put_old_rules();
    TracedProcess commit([] { add_rule(alice); });
    if (!commit.is_running()) GTEST_SKIP() << "processes can't be traced here";
    for (int stop = 0; stop < stops && done == 0; ++stop) done = commit.step() ? 0 : 1;
    commit.kill();
    expect_whole_script();
    const Files files = files_afterwards();
    EXPECT_TRUE(files == old_ || files == new_) << "killed at stop " << stops;
    EXPECT_EQ(files == old_ ? old_history_ : new_history_, history_of(alice))
        << "killed at stop " << stops;
    was_old |= files == old_;
    was_new = files == new_;
    EXPECT_TRUE(is_clear()) << "killed at stop " << stops;
  }
  EXPECT_TRUE(was_old);
  EXPECT_TRUE(was_new);  // when nothing killed it
}

// Between two calls only: a count of calls, which sanitizers change, may miss it.
TEST_P(InterruptedCommit, CompletesAHistoryThatIsLate) {
  put_old_rules();
  TracedProcess commit([] { add_rule(alice); });
  if (!commit.is_running()) GTEST_SKIP() << "processes can't be traced here";
  while (!is_history_late() && commit.step()) continue;
  ASSERT_TRUE(is_history_late());
  commit.kill();
  EXPECT_EQ(new_, files_afterwards());
  EXPECT_EQ(new_history_, history_of(alice));
}

// What is renamed is on the disk before, and one renaming before the other.
TEST_P(InterruptedCommit, SynchronisesEachStepBeforeTheNext) {
  put_old_rules();
  TracedProcess commit([] { add_rule(alice); });
  if (!commit.is_running()) GTEST_SKIP() << "processes can't be traced here";
  std::string steps;
  while (commit.step()) {
    const long call = commit.beginning_call();
    if (call == SYS_fsync) steps += "sync ";
    if (call == SYS_renameat || call == SYS_renameat2) steps += "rename ";
  }
  EXPECT_EQ("sync sync sync sync rename sync rename rename sync ",
            steps.substr(steps.find("sync")));
}

std::string name_of(const testing::TestParamInfo<OldRules>& row) {
  static const char* const file_names[] = {"NoRules", "Rules", "RulesWithoutHistory"};
  return file_names[static_cast<std::size_t>(row.param)];
}

INSTANTIATE_TEST_SUITE_P(With, InterruptedCommit,
                         testing::Values(OldRules::none, OldRules::rules,
                                         OldRules::rules_without_history),
                         name_of);

}  // namespace
}  // namespace Quarrow::Administration
