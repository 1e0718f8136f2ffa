// What the journal keeps, also of lines that were cut off.
#include "refiling/journal.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "refiling/refiling_test_support.h"

namespace Quarrow::Refiling {
namespace {

// "move x A B" for each step of the last run.
Lines last_run(const TemporaryFolder& folder) {
  Journal journal;
  EXPECT_EQ("", said(journal.open(folder.path())));
  std::optional<std::vector<Step>> steps;
  EXPECT_EQ("", said(journal.read_last_run(steps)));
  if (!steps) return {"none"};
  Lines lines;
  for (const Step& step : *steps)
    lines.push_back(std::to_string(static_cast<int>(step.kind)) + ' ' + step.unique + ' ' +
                    step.from + ' ' + step.to);
  return lines;
}

void add_run(const TemporaryFolder& folder, const std::vector<Step>& steps) {
  Journal journal;
  EXPECT_EQ("", said(journal.open(folder.path())));
  journal.begin_run();
  for (const Step& step : steps) journal.add(step);
  EXPECT_EQ("", said(journal.write()));
}

TEST(JournalTest, KeepsRunsAndForgetsThoseThatAreUndone) {
  const TemporaryFolder folder;
  EXPECT_EQ(Lines({"none"}), last_run(folder));
  add_run(folder, {{Step::Kind::move, "a", "", ".A"}});
  add_run(folder, {{Step::Kind::copy, "b", ".A", ""}, {Step::Kind::drop, "c", ".A", ".B"}});
  EXPECT_EQ(Lines({"1 b .A ", "2 c .A .B"}), last_run(folder));
  {
    Journal journal;
    ASSERT_EQ("", said(journal.open(folder.path())));
    journal.add_undone();
    ASSERT_EQ("", said(journal.write()));
  }
  EXPECT_EQ(Lines({"0 a  .A"}), last_run(folder));
}

TEST(JournalTest, KeepsAnyName) {
  const TemporaryFolder folder;
  const std::string name = "a\tb\nc%09%\xff d%";
  add_run(folder, {{Step::Kind::move, name, ".A", ".B"}});
  EXPECT_EQ(Lines({"0 " + name + " .A .B"}), last_run(folder));
}

TEST(JournalTest, LeavesOutALineThatWasCutOff) {
  const TemporaryFolder folder;
  add_run(folder, {{Step::Kind::move, "a", "", ".A"}, {Step::Kind::move, "b", "", ".A"}});
  const std::string whole = content_of(folder.file(journal_name));
  const std::size_t second = whole.find("move", whole.find("move") + 1);
  for (std::size_t size = second; size + 1 < whole.size(); ++size) {
    folder.write(journal_name, whole.substr(0, size));
    EXPECT_EQ(Lines({"0 a  .A"}), last_run(folder)) << size;
    add_run(folder, {{Step::Kind::move, "c", "", ".C"}});
    EXPECT_EQ(Lines({"0 c  .C"}), last_run(folder)) << size;
  }
}

TEST(JournalTest, IsTheOwnersAlone) {
  const TemporaryFolder folder;
  add_run(folder, {});
  struct stat status {};
  ASSERT_EQ(0, stat(folder.file(journal_name).c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 0777U);
}

TEST(JournalTest, IsOpenForOneProcessAtATime) {
  const TemporaryFolder folder;
  Journal journal;
  ASSERT_EQ("", said(journal.open(folder.path())));
  EXPECT_EQ(
      folder.file(journal_name) + ": another process is moving this user's mail; try again later",
      said(Journal().open(folder.path())));
}

TEST(JournalTest, FollowsNoLink) {
  const TemporaryFolder folder;
  const std::string other = folder.write("other", "text");
  ASSERT_EQ(0, symlink(other.c_str(), folder.file(journal_name).c_str()));
  EXPECT_EQ(folder.file(journal_name) + ": Is a symbolic link",
            said(Journal().open(folder.path())));
  ASSERT_EQ(0, unlink(folder.file(journal_name).c_str()));
  ASSERT_EQ(0, link(other.c_str(), folder.file(journal_name).c_str()));
  EXPECT_EQ(
      folder.file(journal_name) + ": belongs to another user, or has a second name; remove it",
      said(Journal().open(folder.path())));
  EXPECT_EQ("text", content_of(other));
}

}  // namespace
}  // namespace Quarrow::Refiling
