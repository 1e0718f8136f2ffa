// Making folders with those above them.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "base.h"
#include "tests/support/temporary_folder_test_support.h"

namespace {

unsigned mode_of(const std::string& path) {
  struct stat entry {};
  return stat(path.c_str(), &entry) == 0 ? entry.st_mode & 07777 : 0;
}

TEST(CreatePath, MakesTheFoldersAbove) {
  const TemporaryFolder folder;
  EXPECT_EQ(0, create_path(folder.file("a/b/c"), 0700));
  EXPECT_EQ(0700U, mode_of(folder.file("a")));
  EXPECT_EQ(0700U, mode_of(folder.file("a/b/c")));
}

TEST(CreatePath, TakesSlashesAsTheyCome) {
  const TemporaryFolder folder;
  EXPECT_EQ(0, create_path(folder.file("a//b/"), 0700));
  EXPECT_TRUE(std::filesystem::is_directory(folder.file("a/b")));
}

TEST(CreatePath, IsContentWithWhatIsThere) {
  const TemporaryFolder folder;
  for (const std::string& path : {std::string(), std::string("/"), folder.path()})
    EXPECT_EQ(0, create_path(path, 0766)) << path;
}

TEST(CreatePath, IsStoppedByAFile) {
  const TemporaryFolder folder;
  const std::string file = folder.write("file", "");
  EXPECT_EQ(-1, create_path(file, 0700));
  EXPECT_EQ(ENOTDIR, errno);
  EXPECT_EQ(-1, create_path(file + "/below", 0700));
  EXPECT_EQ(ENOTDIR, errno);
}

TEST(CreatePath, RefusesANul) {
  const TemporaryFolder folder;
  EXPECT_EQ(-1, create_path(folder.file("a") + std::string("\0b", 2), 0700));
  EXPECT_EQ(EINVAL, errno);
  EXPECT_FALSE(std::filesystem::exists(folder.file("a")));
}

TEST(CreatePath, ReportsANameThatIsTooLong) {
  const TemporaryFolder folder;
  EXPECT_EQ(-1, create_path(folder.file(std::string(300, 'a')), 0700));
  EXPECT_EQ(ENAMETOOLONG, errno);
}

}  // namespace
