// Files that are read and replaced as a whole.
#include "apps/quarrow/whole_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sysexits.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Command {
namespace {

std::string content_of(const std::string& path) {
  std::string text;
  EXPECT_EQ("", read_file(path, 1000000, text).reason);
  return text;
}

TEST(WholeFile, ReadsBackWhatWasWrittenAndLeavesNothingElse) {
  const TemporaryFolder folder;
  const std::string path = folder.file("rules");
  ASSERT_EQ("", write_file(path, "long text").reason);
  ASSERT_EQ("", write_file(path, "text").reason);
  EXPECT_EQ("text", content_of(path));
  const auto first = std::filesystem::directory_iterator(folder.path());
  EXPECT_EQ(1, std::distance(begin(first), end(first)));
  struct stat status;
  ASSERT_EQ(0, stat(path.c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 0777U);
}

TEST(WholeFile, RefusesToReplaceWhatIsNoFile) {
  const TemporaryFolder folder;
  ASSERT_EQ(0, mkfifo(folder.file("fifo").c_str(), 0600));
  std::filesystem::create_symlink("elsewhere", folder.file("link"));
  for (const char* name : {"fifo", "link", "."})
    EXPECT_EQ("Is not a regular file", write_file(folder.file(name), "text").reason) << name;
  EXPECT_EQ("No such file or directory", write_file(folder.file("none/rules"), "text").reason);
}

TEST(WholeFile, ReadsLittleMoreThanTheLimit) {
  const TemporaryFolder folder;
  const std::string path = folder.file("rules");
  ASSERT_EQ("", write_file(path, std::string(10000000, 'x')).reason);
  std::string text;
  EXPECT_EQ("", read_file(path, 1000, text).reason);
  EXPECT_LT(1000U, text.size());
  EXPECT_GT(1000000U, text.size());
  EXPECT_EQ(EX_NOINPUT, read_file(folder.file("none"), 1000, text).status);
}

}  // namespace
}  // namespace Quarrow::Command
