// Work on the rules of a user, and on rules that end the process.
#include "administration/guarded_rules.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "administration/administration_test_support.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::make_rule;
using MessageFilters::subject_test;

// A root below which alice has a folder.
class RootOfAlice : public TemporaryRoot {
 public:
  RootOfAlice() { std::filesystem::create_directories(folder()); }

  std::string folder() const { return file("example.org/alice"); }
};

// The number of filters as the answer.
GuardedOutcome count(RulesTransaction& rules) {
  return {{}, std::to_string(rules.filters().filters->filters.size())};
}

GuardedOutcome add_one(RulesTransaction& rules) {
  Refusal refusal = rules.add(make_rule("a", subject_test()), 0);
  if (!refusal) refusal = rules.commit();
  return {refusal, "added"};
}

TEST(GuardedRules, GiveTheAnswerOfTheWork) {
  const RootOfAlice root;
  EXPECT_EQ("added", with_rules_of(alice, add_one).answer);
  EXPECT_EQ("1", with_rules_of(alice, count).answer);
}

TEST(GuardedRules, GiveTheRefusalOfTheWork) {
  const RootOfAlice root;
  const GuardedOutcome outcome =
      with_rules_of(alice, [](RulesTransaction& rules) -> GuardedOutcome {
        return {rules.remove(3), ""};
      });
  expect_refusal(Kind::no_such_filter, "alice@example.org", "no filter 3", outcome.refusal);
}

TEST(GuardedRules, GiveTheRefusalOfOpeningThem) {
  const RootOfAlice root;
  std::filesystem::remove(root.folder());
  root.write("example.org/alice", "no folder");
  const GuardedOutcome outcome = with_rules_of(alice, count);
  EXPECT_EQ(Kind::missing, outcome.refusal.kind);
  EXPECT_EQ("", outcome.answer);
}

// Also where only root may look into the folders above.
TEST(GuardedRules, AreChangedWithTheRightsOfTheFoldersOwner) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can act as another user";
  static constexpr uid_t nobody = 65534;
  const RootOfAlice root;
  const std::string folder = root.folder();
  std::filesystem::permissions(root.path(), std::filesystem::perms(0700));
  ASSERT_EQ(0, chown(folder.c_str(), nobody, nobody));
  const GuardedOutcome outcome = with_rules_of(alice, [](RulesTransaction& rules) {
    return getuid() == nobody ? add_one(rules) : GuardedOutcome{{Kind::crashed, "", "root"}, ""};
  });
  EXPECT_EQ("", said(outcome.refusal));
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    struct stat status {};
    ASSERT_EQ(0, lstat(entry.path().c_str(), &status));
    EXPECT_EQ(nobody, status.st_uid) << entry.path();
    EXPECT_EQ(nobody, status.st_gid) << entry.path();
  }
  EXPECT_EQ(0u, geteuid());
}

TEST(GuardedRules, SurviveADocumentThatEndsTheProcess) {
  const RootOfAlice root;
  ASSERT_FALSE(with_rules_of(alice, add_one).refusal);
  const std::string path = rules_document(alice.address());
  write_file(path, "<filters><filter enabled=\"yes\" name=\"a\"/></filters>");
  testing::internal::CaptureStderr();
  const GuardedOutcome outcome = with_rules_of(alice, count);
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_EQ(Kind::damaged_document, outcome.refusal.kind);
  EXPECT_EQ(path, outcome.refusal.object);
}

}  // namespace
}  // namespace Quarrow::Administration
