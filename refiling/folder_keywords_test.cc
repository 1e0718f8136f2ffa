// Letters, and the file that says what they mean.
#include "refiling/folder_keywords.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "quarrow/delivery/maildir_store.h"
#include "system/child_process_test_support.h"
#include "system/descriptor.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Refiling {
namespace {

using Names = std::set<std::string>;

class FolderKeywordsTest : public testing::Test {
 protected:
  FolderKeywords keywords(const std::string& text) const {
    folder_.write("dovecot-keywords", text);
    FolderKeywords read;
    read.read(fd_.get());
    return read;
  }

  std::string file() const { return content_of(folder_.file("dovecot-keywords")); }

  struct stat status() const {
    struct stat status {};
    EXPECT_EQ(0, stat(folder_.file("dovecot-keywords").c_str(), &status));
    return status;
  }

  const TemporaryFolder folder_;
  const Descriptor fd_{open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY)};
};

TEST_F(FolderKeywordsTest, Names) {
  const FolderKeywords read = keywords("0 $Forwarded\n3 two words\n25 z\n26 beyond\n");
  EXPECT_EQ(Names({"$Forwarded", "two words", "z"}), read.names_in(":2,FSabdz"));
  EXPECT_EQ(Names(), read.names_in(""));
  EXPECT_EQ(Names(), read.names_in(":1,ad"));  // not flags
}

TEST_F(FolderKeywordsTest, Translates) {
  const FolderKeywords from = keywords("0 A\n1 B\n");
  const FolderKeywords to = keywords("0 B\n5 A\n3 C\n");
  const FolderKeywords none;
  EXPECT_EQ(":2,FSaf", from.translated(":2,FSab", to));
  EXPECT_EQ(":2,FS", from.translated(":2,FS", none));
  EXPECT_EQ("", from.translated("", none));
  EXPECT_EQ(std::nullopt, from.translated(":2,a", none));
  EXPECT_EQ(":2,z", from.translated(":2,z", to));  // without a meaning in either
  EXPECT_EQ(":2,", from.translated(":2,d", to));   // it would have another one
  EXPECT_EQ(":2,Sab", none.translated(":2,Sab", none));
}

TEST_F(FolderKeywordsTest, AddsToTheFile) {
  FolderKeywords read = keywords("1 B\n");
  std::filesystem::permissions(folder_.file("dovecot-keywords"), std::filesystem::perms(0640));
  const std::time_t before = status().st_mtime;
  EXPECT_EQ("", read.add(fd_.get(), {"A", "B", "C"}));
  EXPECT_EQ("0 A\n1 B\n2 C\n", file());
  EXPECT_EQ(Names({"A"}), read.names_in(":2,a"));
  EXPECT_LT(before, status().st_mtime);  // Dovecot looks at whole seconds
  EXPECT_EQ(0640U, status().st_mode & 0777U);
  EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(folder_.path()), {}));
}

TEST_F(FolderKeywordsTest, KeepsWhatAnotherProcessAdded) {
  FolderKeywords read = keywords("0 A\n");
  folder_.write("dovecot-keywords", "0 A\n1 Theirs\n");
  EXPECT_EQ("", read.add(fd_.get(), {"Ours"}));
  EXPECT_EQ("0 A\n1 Theirs\n2 Ours\n", file());
}

TEST_F(FolderKeywordsTest, WritesNothingWithoutNeed) {
  FolderKeywords read = keywords("0 A\nrest");
  folder_.write("dovecot-uidlist.lock", "1:elsewhere");
  EXPECT_EQ("", read.add(fd_.get(), {"A"}, std::chrono::milliseconds(0)));
  EXPECT_EQ("0 A\nrest", file());
}

TEST_F(FolderKeywordsTest, RespectsTheLock) {
  FolderKeywords read = keywords("0 A\n");
  const std::string mine = std::to_string(getpid()) + ':' + Delivery::host_name();
  for (const std::string& owner : {mine, std::string("1:another.host"), std::string()}) {
    folder_.write("dovecot-uidlist.lock", owner);
    EXPECT_EQ("dovecot-uidlist.lock: held by an IMAP server; try again",
              read.add(fd_.get(), {"B"}, std::chrono::milliseconds(0)));
    EXPECT_EQ("0 A\n", file());
    EXPECT_EQ(owner, content_of(folder_.file("dovecot-uidlist.lock")));
    EXPECT_EQ(Names(), read.names_in(":2,b"));
  }
}

TEST_F(FolderKeywordsTest, TakesTheLockOfAProcessThatIsGone) {
  FolderKeywords read = keywords("0 A\n");
  const pid_t gone = start_child([] { return 0; });
  wait_for(gone);
  folder_.write("dovecot-uidlist.lock", std::to_string(gone) + ':' + Delivery::host_name());
  EXPECT_EQ("", read.add(fd_.get(), {"B"}));
  EXPECT_EQ("0 A\n1 B\n", file());
  EXPECT_FALSE(std::filesystem::exists(folder_.file("dovecot-uidlist.lock")));
}

TEST_F(FolderKeywordsTest, FollowsNoLink) {
  const std::string other = folder_.write("other", "0 A\n");
  ASSERT_EQ(0, symlink(other.c_str(), folder_.file("dovecot-keywords").c_str()));
  ASSERT_EQ(0, symlink(other.c_str(), folder_.file("dovecot-keywords.lock").c_str()));
  FolderKeywords read;
  read.read(fd_.get());
  EXPECT_EQ(Names(), read.names_in(":2,a"));
  EXPECT_EQ("", read.add(fd_.get(), {"B"}));
  EXPECT_EQ("0 B\n", file());
  EXPECT_EQ("0 A\n", content_of(other));
}

}  // namespace
}  // namespace Quarrow::Refiling
