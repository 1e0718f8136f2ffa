// Temporary files: private, and gone in the end.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/temporary_folder_test_support.h"
#include "zvellparser.h"

namespace {

TEST(TempFile, IsEmptyAndPrivate) {
  const TemporaryFolder folder;
  const TempFile file(folder.file("draft."));
  EXPECT_EQ(0U, file.name().find(folder.file("draft.")));
  struct stat entry {};
  ASSERT_EQ(0, stat(file.name().c_str(), &entry));
  EXPECT_EQ(0600U, entry.st_mode & 07777);
  EXPECT_EQ(0, entry.st_size);
}

TEST(TempFile, IsAnotherEachTime) {
  const TemporaryFolder folder;
  const TempFile first(folder.file("a"));
  const TempFile second(folder.file("a"));
  EXPECT_NE(first.name(), second.name());
}

TEST(TempFile, GoesAwayWithItsObject) {
  const TemporaryFolder folder;
  std::string name;
  {
    const TempFile file(folder.file("a"));
    name = file.name();
    EXPECT_TRUE(std::filesystem::exists(name));
  }
  EXPECT_NE("", name);
  EXPECT_FALSE(std::filesystem::exists(name));
}

TEST(TempFile, DoesNotMindThatItIsGoneAlready) {
  const TemporaryFolder folder;
  {
    const TempFile file(folder.file("a"));
    EXPECT_TRUE(std::filesystem::remove(file.name()));
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(TempFile, HasNoNameWhenItCanNotBeMade) {
  const TemporaryFolder folder;
  EXPECT_EQ("", TempFile(folder.file("missing/a")).name());
  EXPECT_EQ("", TempFile(folder.file("a") + std::string("\0b", 2)).name());
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

// Sets $TMPDIR for the length of a test.
class TempFileFolder : public testing::Test {
 protected:
  TempFileFolder() {
    const char* folder = getenv("TMPDIR");
    if (folder) before_ = folder;
  }
  ~TempFileFolder() override { set(before_); }

  static void set(const std::string& folder) {
    if (folder.empty())
      unsetenv("TMPDIR");
    else
      setenv("TMPDIR", folder.c_str(), 1);
  }

 private:
  std::string before_;
};

TEST_F(TempFileFolder, IsTmpdir) {
  const TemporaryFolder folder;
  set(folder.path());
  EXPECT_EQ(0U, TempFile("").name().find(folder.path() + "/"));
}

TEST_F(TempFileFolder, IsTmpWithoutTmpdir) {
  set("");
  EXPECT_EQ(0U, TempFile("").name().find("/tmp/"));
  setenv("TMPDIR", "", 1);
  EXPECT_EQ(0U, TempFile("").name().find("/tmp/"));
}

}  // namespace
