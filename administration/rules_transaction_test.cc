// Transactions that are opened and edited, and every way in which they are refused.
#include "administration/rules_transaction.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <vector>

#include "administration/folder_form.h"
#include "administration/rules_transaction_test_support.h"
#include "message_filters/xml_text.h"
#include "system/child_process_test_support.h"

namespace {

bool locks_left = true;
bool folder_locks_exclude = true;

bool is_folder(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

// In place of the system's: the only way to meet a file system without locks, or one of those where
// a folder's lock excludes nobody.
extern "C" int flock(int fd, int operation) noexcept {
  if (!folder_locks_exclude && is_folder(fd)) return 0;
  if (locks_left) return static_cast<int>(syscall(SYS_flock, fd, operation));
  errno = ENOLCK;
  return -1;
}

namespace Quarrow::Administration {
namespace {

using MessageFilters::make_filter;
using MessageFilters::make_rule;
using MessageFilters::subject_test;

TEST_F(RulesTransactionTest, StandsInTheUsersFolder) {
  EXPECT_EQ(folder_ + "/.delivery_filter", script_);
  EXPECT_EQ(folder_ + "/.delivery_filter.xml", document_);
}

TEST_F(RulesTransactionTest, HasNoFiltersForAUserWithoutAFolder) {
  std::filesystem::remove(folder_);
  RulesTransaction rules(alice);
  EXPECT_EQ("", said(rules.open()));
  EXPECT_TRUE(rules.filters().filters->filters.empty());
  expect_refusal(Kind::missing, folder_, "nothing was changed: No such file or directory",
                 rules.commit());
  EXPECT_FALSE(std::filesystem::exists(folder_));
}

TEST_F(RulesTransactionTest, FollowsAFolderThatChangesItsForm) {
  commit_one_rule();
  FormChange change;
  {
    RulesTransaction rules(alice);
    EXPECT_EQ("", said(change_form(root_.path(), alice, FolderForm::hashed, change)));
    EXPECT_EQ("", said(rules.open()));
    EXPECT_EQ(1U, rules.filters().filters->filters.size());
    EXPECT_EQ("", said(change_form(root_.path(), alice, FolderForm::flat, change)));
    EXPECT_EQ("", said(add_rule(rules)));
  }
  EXPECT_EQ("Rule Rule ", names());
  EXPECT_FALSE(std::filesystem::exists(change.from));
}

TEST_F(RulesTransactionTest, CommitsWhatWasEdited) {
  edit([](RulesTransaction& rules) {
    const Refusal refusal = rules.add(make_rule("second", subject_test()), 0);
    return refusal ? refusal : rules.add(make_rule("first", subject_test()), 1);
  });
  EXPECT_EQ("first second ", names());
  edit([](RulesTransaction& rules) { return rules.remove(1); });
  EXPECT_EQ("first ", names());
  edit([](RulesTransaction& rules) { return rules.remove(2); });
  EXPECT_EQ("", names());
}

TEST_F(RulesTransactionTest, PutsBackWhatAnEarlierVersionLeftWhenItWasCutOff) {
  commit_one_rule();
  std::filesystem::rename(document_, document_ + ".kept");
  std::filesystem::rename(script_, script_ + ".kept");
  write_file(document_ + ".tmp", "half");
  write_file(script_ + ".tmp", "half");
  EXPECT_EQ("Rule ", names());
  EXPECT_TRUE(std::filesystem::exists(script_));
  for (const std::string& path : {document_, script_})
    for (const char* end : {".kept", ".tmp"}) EXPECT_FALSE(std::filesystem::exists(path + end));
}

TEST_F(RulesTransactionTest, LosesNothingWhereFoldersCantBeLocked) {
  folder_locks_exclude = false;
  constexpr int processes = 12;
  std::vector<pid_t> changes;
  for (int started = 0; started < processes; ++started)
    changes.push_back(start_child([] {
      RulesTransaction rules(alice);
      return rules.open() || add_rule(rules) ? 1 : 0;
    }));
  for (const pid_t change : changes) EXPECT_EQ(0, wait_for(change).status);
  folder_locks_exclude = true;
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open()));
  EXPECT_EQ(processes, rules.filters().filters->filters.size());
}

TEST_F(RulesTransactionTest, WaitsNoLongerThanItsPatience) {
  commit_one_rule();
  RulesTransaction first(alice);
  ASSERT_EQ("", said(first.open()));
  expect_refusal(Kind::try_again, folder_, "is being changed by another process; try again later",
                 RulesTransaction(alice, std::chrono::milliseconds(20)).open());
}

TEST_F(RulesTransactionTest, RefusesWhatIsNoFolder) {
  std::filesystem::remove(folder_);
  write_file(folder_, "no folder");
  expect_refusal(Kind::missing, folder_, "Not a directory", RulesTransaction(alice).open());
}

TEST_F(RulesTransactionTest, RefusesAFolderThatCantBeLocked) {
  locks_left = false;
  const Refusal refusal = RulesTransaction(alice).open();
  locks_left = true;
  expect_refusal(Kind::try_again, folder_, "can't be locked: No locks available", refusal);
}

TEST_F(RulesTransactionTest, RefusesADocumentThatMayNotBeRead) {
  commit_one_rule();
  std::filesystem::permissions(document_, std::filesystem::perms::none);
  expect_refusal(Kind::not_permitted, document_, "Permission denied",
                 as_nobody([] { return RulesTransaction(alice).open(); }));
}

TEST_F(RulesTransactionTest, RefusesADocumentOfWhichNothingIsRead) {
  commit_one_rule();
  std::filesystem::resize_file(document_, MessageFilters::most_xml_bytes + 1);
  EXPECT_EQ(Kind::damaged_document, RulesTransaction(alice).open().kind);
  for (const char* content : {"", "<filters", "<filters></filters>"}) {
    write_file(document_, content);
    expect_refusal(Kind::damaged_document, document_,
                   "damaged filter document: no filter can be read from it; restore it from a "
                   "copy, or remove it to start anew",
                   RulesTransaction(alice).open());
  }
}

TEST_F(RulesTransactionTest, RefusesAFilterThatIsNotThere) {
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open()));
  ASSERT_EQ("", said(add_rule(rules)));
  EXPECT_EQ("", said(rules.check_filter(1)));
  EXPECT_EQ("", said(rules.check_place(1)));
  for (const Refusal& refusal : {rules.check_filter(2), rules.check_place(2), rules.remove(2),
                                 rules.add(make_rule("a", subject_test()), 2)})
    expect_refusal(Kind::no_such_filter, "alice@example.org", "no filter 2", refusal);
}

TEST_F(RulesTransactionTest, RefusesAFilterBeyondTheLimit) {
  SystemRecord small;
  cmdb.system = &small;
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open()));
  for (int count = 0; count < 20; ++count)
    ASSERT_EQ("", said(rules.add(make_rule("a", subject_test()), 0)));
  for (const Refusal& refusal :
       {rules.check_place(0), rules.add(make_rule("a", subject_test()), 0)})
    expect_refusal(Kind::limit_reached, "alice@example.org",
                   "has 20 filters, the most there may be; remove one first", refusal);
}

TEST_F(RulesTransactionTest, RefusesAFilterForWhichNoNumberIsLeft) {
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open()));
  const auto last = make_rule("last", subject_test());
  last->id = std::numeric_limits<std::int32_t>::max();
  ASSERT_EQ("", said(rules.add(last, 0)));
  expect_refusal(Kind::no_number_left, "alice@example.org",
                 "no filter number is left; the highest one is in use",
                 rules.add(make_rule("a", subject_test()), 0));
}

TEST_F(RulesTransactionTest, RefusesAFilterThatLacksAPart) {
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open()));
  const auto nameless = make_rule("", subject_test());
  const auto unrelated = make_rule("a", subject_test());
  unrelated->relation = "someof";
  const auto idle = make_rule("a", subject_test());
  idle->actions.clear();
  EXPECT_EQ(Kind::no_name, rules.add(nameless, 0).kind);
  EXPECT_EQ(Kind::wrong_rule, rules.add(unrelated, 0).kind);
  EXPECT_EQ(Kind::no_tests, rules.add(make_filter("a"), 0).kind);
  EXPECT_EQ(Kind::no_actions, rules.add(idle, 0).kind);
  EXPECT_TRUE(rules.filters().filters->filters.empty());
}

}  // namespace
}  // namespace Quarrow::Administration
