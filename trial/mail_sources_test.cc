// Which sources the arguments of a command stand for.
#include "trial/mail_sources.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Trial {
namespace {

using Kind = SourceFailure::Kind;
using Paths = std::vector<std::string>;

Paths paths(const FoundMail& found) {
  Paths out;
  for (const auto& source : found.sources) out.push_back(source.path);
  return out;
}

// The only failure of `found`; another number of them fails the test.
SourceFailure failure_of(const FoundMail& found) {
  EXPECT_EQ(1U, found.failures.size());
  return found.failures.empty() ? SourceFailure() : found.failures.front();
}

class FindMail : public testing::Test {
 protected:
  void make_folder(const std::string& name) {
    ASSERT_EQ(0, mkdir(folder_.file(name).c_str(), 0700));
  }

  void make_maildir() {
    for (const char* name : {"cur", "new", "tmp"}) make_folder(name);
  }

  const TemporaryFolder folder_;
};

TEST_F(FindMail, TakesAMaildirForItsMessagesInOrder) {
  make_maildir();
  const std::string second = folder_.write("cur/2:2,S", "x");
  const std::string first = folder_.write("cur/1:2,", "x");
  const std::string third = folder_.write("new/0", "x");
  folder_.write("cur/.hidden", "x");
  folder_.write("tmp/unfinished", "x");
  make_folder("cur/folder");
  const FoundMail found = find_mail({folder_.path(), "-"});
  EXPECT_EQ((Paths{first, second, third, "-"}), paths(found));
  EXPECT_TRUE(found.failures.empty());
}

TEST_F(FindMail, FindsNothingInAnEmptyMaildir) {
  make_maildir();
  const FoundMail found = find_mail({folder_.path()});
  EXPECT_TRUE(found.sources.empty());
  EXPECT_TRUE(found.failures.empty());
}

TEST_F(FindMail, CantReadAMissingFile) {
  const std::string file = folder_.write("a.eml", "x");
  const FoundMail found = find_mail({folder_.file("none"), file});
  EXPECT_EQ(Paths{file}, paths(found));
  const SourceFailure failure = failure_of(found);
  EXPECT_EQ(Kind::cannot_read, failure.kind);
  EXPECT_EQ(folder_.file("none"), failure.object);
  EXPECT_EQ("can't be read: No such file or directory", failure.reason);
}

TEST_F(FindMail, TakesAFolderWithoutCurAndNewForNoMaildir) {
  const std::string file = folder_.write("a.eml", "x");
  make_folder("cur");
  const FoundMail found = find_mail({folder_.path(), file});
  EXPECT_EQ(Paths{file}, paths(found));
  const SourceFailure failure = failure_of(found);
  EXPECT_EQ(Kind::not_a_maildir, failure.kind);
  EXPECT_EQ(folder_.path(), failure.object);
  EXPECT_EQ("a folder without cur/ and new/, so no Maildir; name the message files in it",
            failure.reason);
}

TEST_F(FindMail, CantReadALockedFolderOfAMaildir) {
  if (geteuid() == 0) GTEST_SKIP() << "root reads every folder";
  make_maildir();
  folder_.write("new/1", "x");
  ASSERT_EQ(0, chmod(folder_.file("cur").c_str(), 0300));
  const FoundMail found = find_mail({folder_.path()});
  ASSERT_EQ(0, chmod(folder_.file("cur").c_str(), 0700));
  EXPECT_TRUE(found.sources.empty());
  const SourceFailure failure = failure_of(found);
  EXPECT_EQ(Kind::cannot_read, failure.kind);
  EXPECT_EQ(folder_.file("cur"), failure.object);
}

TEST_F(FindMail, ListsWithoutOpeningWhatLiesInAMaildir) {
  make_maildir();
  const std::string file = folder_.write("cur/a", "four");
  ASSERT_EQ(0, mkfifo(folder_.file("cur/b").c_str(), 0600));
  ASSERT_EQ(0, symlink(file.c_str(), folder_.file("cur/c").c_str()));
  const FoundMail found = find_mail({folder_.path()});
  ASSERT_EQ(3U, found.sources.size());
  for (const auto& source : found.sources) EXPECT_TRUE(source.is_in_maildir) << source.path;
  EXPECT_EQ(4U, total_size(found.sources));
  EXPECT_FALSE(find_mail({file}).sources.at(0).is_in_maildir);
}

TEST_F(FindMail, FollowsNoLinkFromAMaildirToAFolder) {
  make_maildir();
  folder_.write("new/1", "x");
  make_folder("box");
  for (const char* name : {"cur", "new"})
    ASSERT_EQ(
        0, symlink(folder_.file(name).c_str(), folder_.file(std::string("box/") + name).c_str()));
  const FoundMail found = find_mail({folder_.file("box")});
  EXPECT_TRUE(found.sources.empty());
  EXPECT_EQ(Kind::not_a_maildir, failure_of(found).kind);
}

TEST_F(FindMail, TellsAllFailuresInTheOrderOfTheArguments) {
  const FoundMail found =
      find_mail({folder_.file("b"), folder_.path(), folder_.file("a"), folder_.file("b")});
  Paths objects;
  for (const auto& failure : found.failures) objects.push_back(failure.object);
  EXPECT_EQ((Paths{folder_.file("b"), folder_.path(), folder_.file("a"), folder_.file("b")}),
            objects);
  EXPECT_TRUE(found.sources.empty());
}

TEST_F(FindMail, KnowsTheSizesOfFiles) {
  make_maildir();
  folder_.write("cur/1", "four");
  const FoundMail found =
      find_mail({folder_.path(), folder_.write("a.eml", "sixteen in total"), "-"});
  ASSERT_EQ(3U, found.sources.size());
  EXPECT_EQ(4U, found.sources[0].size);
  EXPECT_EQ(16U, found.sources[1].size);
  EXPECT_EQ(0U, found.sources[2].size);
  EXPECT_EQ(20U, total_size(found.sources));
}

TEST_F(FindMail, TakesOnlyADashForStandardInput) {
  EXPECT_TRUE(MailSource{"-"}.is_standard_input());
  EXPECT_FALSE(MailSource{"./-"}.is_standard_input());
}

}  // namespace
}  // namespace Quarrow::Trial
