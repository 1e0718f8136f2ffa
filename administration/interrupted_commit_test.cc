// A commit that is looked at, and killed, at each of its system calls.
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <string>
#include <vector>

#include "administration/administration_test_support.h"
#include "administration/rules_transaction.h"
#include "administration/traced_process_test_support.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::make_rule;
using MessageFilters::subject_test;

const EmailAddress alice("alice@example.org");
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

// The parameter: whether the user has rules before.
class InterruptedCommit : public testing::TestWithParam<bool> {
 protected:
  InterruptedCommit() {
    std::filesystem::create_directories(root_.file("example.org/bob"));
    if (GetParam()) add_rule(bob);
    old_ = files_of(bob);
    add_rule(bob);
    new_ = files_of(bob);
  }

  // Leaves the user with the old rules, and nothing else.
  void put_old_rules() const {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directory(folder_);
    if (!GetParam()) return;
    write_file(rules_document(alice.address()), old_.document);
    write_file(rules_script(alice.address()), old_.script);
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

  // Whether there is no more than the rules and the lock.
  bool is_clear() const {
    const bool has_rules = files_of(alice).document != no_rules_.document;
    const std::filesystem::directory_iterator all(folder_);
    return std::distance(begin(all), end(all)) == (has_rules ? 3 : 1);
  }

  const TemporaryRoot root_;
  const std::string folder_ = root_.file("example.org/alice");
  const Files no_rules_ = files_of(EmailAddress("nobody@example.org"));
  Files old_;
  Files new_;
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
    was_old |= files == old_;
    was_new = files == new_;
    EXPECT_TRUE(is_clear()) << "killed at stop " << stops;
  }
  EXPECT_TRUE(was_old);
  EXPECT_TRUE(was_new);  // when nothing killed it
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
  EXPECT_EQ("sync sync sync rename sync rename sync ", steps.substr(steps.find("sync")));
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutOldRules, InterruptedCommit, testing::Bool());

}  // namespace
}  // namespace Quarrow::Administration
