// What the journal keeps, also of lines that were cut off.
#include "refiling/journal.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>

#include "refiling/refiling_test_support.h"
#include "system/traced_process_test_support.h"

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

void undo_run(const TemporaryFolder& folder) {
  Journal journal;
  EXPECT_EQ("", said(journal.open(folder.path())));
  journal.add_undone();
  EXPECT_EQ("", said(journal.write()));
}

// A run of its own for each number, with two batches.
void add_runs(const TemporaryFolder& folder, std::size_t first, std::size_t end) {
  for (std::size_t i = first; i < end; ++i) {
    Journal journal;
    EXPECT_EQ("", said(journal.open(folder.path())));
    journal.begin_run();
    for (const char* target : {".A", ".B"}) {
      journal.add({Step::Kind::move, std::to_string(i), "", target});
      EXPECT_EQ("", said(journal.write()));
    }
  }
}

Lines run_of(std::size_t number) {
  const std::string step = "0 " + std::to_string(number);
  return {step + "  .A", step + "  .B"};
}

TEST(JournalTest, IsNotOpenedForAUserWhoIsMoved) {
  const TemporaryFolder folder;
  folder.write(".quarrow_lock", "");
  EXPECT_EQ(Administration::Refusal::Kind::locked, Journal().open(folder.path()).kind);
}

TEST(JournalTest, IsIdleUnlessItIsOpen) {
  const TemporaryFolder folder;
  Administration::UserFolder opened(folder.path());
  EXPECT_EQ("", said(opened.open()));
  EXPECT_EQ("", said(check_idle(opened)));
  EXPECT_FALSE(std::filesystem::exists(folder.file(journal_name)));
  {
    Journal journal;
    EXPECT_EQ("", said(journal.open(folder.path())));
    EXPECT_EQ(Administration::Refusal::Kind::try_again, check_idle(opened).kind);
  }
  EXPECT_EQ("", said(check_idle(opened)));
}

TEST(JournalTest, KeepsRunsAndForgetsThoseThatAreUndone) {
  const TemporaryFolder folder;
  EXPECT_EQ(Lines({"none"}), last_run(folder));
  add_run(folder, {{Step::Kind::move, "a", "", ".A"}});
  add_run(folder, {{Step::Kind::copy, "b", ".A", ""}, {Step::Kind::drop, "c", ".A", ".B"}});
  EXPECT_EQ(Lines({"1 b .A ", "2 c .A .B"}), last_run(folder));
  undo_run(folder);
  EXPECT_EQ(Lines({"0 a  .A"}), last_run(folder));
}

TEST(JournalTest, KeepsTheLatestRunsOnly) {
  const TemporaryFolder folder;
  constexpr std::size_t count = 3 * kept_runs;
  add_runs(folder, 0, count);
  for (std::size_t i = count; i > count - kept_runs; --i) {
    EXPECT_EQ(run_of(i - 1), last_run(folder));
    undo_run(folder);
  }
  EXPECT_EQ(Lines({"none"}), last_run(folder));
}

TEST(JournalTest, IsAsLongAsItsRunsHoweverManyThereWere) {
  const TemporaryFolder folder;
  add_runs(folder, 100, 100 + kept_runs);
  const auto size = std::filesystem::file_size(folder.file(journal_name));
  add_runs(folder, 200, 200 + 5 * kept_runs);
  EXPECT_EQ(size, std::filesystem::file_size(folder.file(journal_name)));
  EXPECT_FALSE(std::filesystem::exists(folder.file(journal_name) + ".new"));
}

TEST(JournalTest, DropsRunsThatAreUndoneBeforeOthers) {
  const TemporaryFolder folder;
  add_runs(folder, 0, 1);
  for (std::size_t i = 1; i < 3 * kept_runs; ++i) {
    add_runs(folder, i, i + 1);
    undo_run(folder);
  }
  EXPECT_EQ(run_of(0), last_run(folder));
  EXPECT_GT(500U, std::filesystem::file_size(folder.file(journal_name)));
}

TEST(JournalTest, CountsNoFolderAsARun) {
  const TemporaryFolder folder;
  const std::vector<Step> steps(2 * kept_runs, {Step::Kind::move, "x", "", ".run"});
  add_run(folder, steps);
  undo_run(folder);
  const std::string journal = content_of(folder.file(journal_name));
  add_runs(folder, 0, 1);
  EXPECT_EQ(0U, content_of(folder.file(journal_name)).find(journal));
}

TEST(JournalTest, IsWholeWheneverTheProcessThatShortensItIsKilled) {
  const TemporaryFolder model;
  add_runs(model, 0, kept_runs);
  const std::string journal = content_of(model.file(journal_name));
  bool was_old = false;
  bool is_done = false;
  for (int stops = 0; !is_done; ++stops) {
    const TemporaryFolder folder;
    folder.write(journal_name, journal);
    TracedProcess process([&] { add_runs(folder, kept_runs, kept_runs + 1); });
    if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
    for (int stop = 0; stop < stops && !is_done; ++stop) is_done = !process.step();
    process.kill();
    SCOPED_TRACE("killed at stop " + std::to_string(stops));
    const Lines last = last_run(folder);
    if (last.size() < 2)
      EXPECT_EQ(Lines({"0 " + std::to_string(kept_runs) + "  .A"}), last);
    else
      EXPECT_TRUE(last == run_of(kept_runs - 1) || last == run_of(kept_runs)) << last[0];
    was_old = was_old || last == run_of(kept_runs - 1);
    add_runs(folder, 50, 51);
    EXPECT_FALSE(std::filesystem::exists(folder.file(journal_name) + ".new"));
    for (std::size_t i = 0; i < kept_runs - 2; ++i) undo_run(folder);
    EXPECT_NE(Lines({"none"}), last_run(folder));
  }
  EXPECT_TRUE(was_old);
}

TEST(JournalTest, IsLockedWhereItStandsAfterAnotherProcessReplacedIt) {
  const TemporaryFolder folder;
  add_runs(folder, 0, 1);
  TracedProcess process([&] { add_runs(folder, 2, 3); });
  if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
  while (process.beginning_call() != SYS_flock) ASSERT_TRUE(process.step());
  const std::string other = folder.write("other", "");
  ASSERT_EQ(0, chmod(other.c_str(), 0600));
  std::filesystem::rename(other, folder.file(journal_name));
  while (process.step()) continue;
  EXPECT_EQ(run_of(2), last_run(folder));
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
