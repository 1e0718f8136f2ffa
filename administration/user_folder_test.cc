// Files in a folder, and what a user puts in their place.
#include "administration/user_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>

#include "administration/administration_test_support.h"
#include "system/refused_calls_test_support.h"
#include "system/traced_process_test_support.h"

namespace Quarrow::Administration {
namespace {

class UserFolderTest : public testing::Test {
 protected:
  UserFolderTest() {
    std::filesystem::create_directories(folder_.path());
    EXPECT_EQ("", said(folder_.open()));
  }

  int error_of_reading(const std::string& name) const {
    std::string text;
    return folder_.read(name, 100, text);
  }

  const TemporaryRoot root_;
  UserFolder folder_{root_.file("example.org/alice")};
};

TEST_F(UserFolderTest, IsLeftMissing) {
  UserFolder missing(root_.file("example.org/bob"));
  EXPECT_EQ("", said(missing.open()));
  EXPECT_FALSE(missing.is_open());
  EXPECT_FALSE(std::filesystem::exists(missing.path()));
  EXPECT_TRUE(folder_.is_open());
}

TEST_F(UserFolderTest, WritesFilesForItsOwnerOnly) {
  write_file(folder_.file("file"), "an older text");
  std::filesystem::permissions(folder_.file("file"), std::filesystem::perms(0666));
  EXPECT_EQ(0, folder_.write_new("file", "text"));
  EXPECT_EQ("text", content_of(folder_.file("file")));
  struct stat status {};
  ASSERT_EQ(0, stat(folder_.file("file").c_str(), &status));
  EXPECT_EQ(0600u, status.st_mode & 0777);
}

TEST_F(UserFolderTest, ReadsNoMoreThanItIsTo) {
  write_file(folder_.file("file"), "0123456789");
  std::string text;
  EXPECT_EQ(0, folder_.read("file", 4, text));
  EXPECT_EQ("0123", text);
  EXPECT_EQ(ENOENT, error_of_reading("missing"));
}

TEST_F(UserFolderTest, FollowsNoLink) {
  const std::string outside = root_.write("outside", "text");
  std::filesystem::create_symlink(outside, folder_.file("link"));
  std::filesystem::create_symlink("nowhere", folder_.file("dangling"));
  EXPECT_EQ(ELOOP, error_of_reading("link"));
  EXPECT_TRUE(folder_.holds("dangling"));
  EXPECT_EQ(0, folder_.write_new("link", "new"));
  EXPECT_EQ("text", content_of(outside));
  EXPECT_EQ("new", content_of(folder_.file("link")));
}

TEST_F(UserFolderTest, LooksAgainForAFileThatIsReplacedMeanwhile) {
  write_file(folder_.file("file"), "text");
  TracedProcess process([this] {
    if (refuse_call(SCMP_SYS(openat), ESTALE)) (void)error_of_reading("file");
  });
  if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
  int looks = 0;
  while (process.step()) looks += process.beginning_call() == SYS_openat ? 1 : 0;
  EXPECT_LT(1, looks);
}

TEST_F(UserFolderTest, StaysTheSameFolder) {
  std::filesystem::rename(folder_.path(), root_.file("moved"));
  std::filesystem::create_directory(folder_.path());
  EXPECT_EQ(0, folder_.write_new("file", "text"));
  EXPECT_EQ(0, folder_.rename("file", "other"));
  EXPECT_EQ("text", content_of(root_.file("moved/other")));
  EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(UserFolderTest, WritesNotInPlaceOfAFolder) {
  std::filesystem::create_directory(folder_.file("file"));
  EXPECT_EQ(EEXIST, folder_.write_new("file", "text"));
}

}  // namespace
}  // namespace Quarrow::Administration
