// Files that nobody finds.
#include "system/nameless_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "system/descriptor.h"
#include "system/file_io.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow {
namespace {

// For a file that is `text` once that was written: whether it has no name and a new program that
// the process starts does not get it.
void expect_a_private_file(int fd) {
  ASSERT_LE(0, fd);
  EXPECT_TRUE(write_all(fd, "text"));
  std::string text;
  EXPECT_EQ(4, append_next(fd, text));
  EXPECT_EQ("text", text);
  struct stat status {};
  ASSERT_EQ(0, fstat(fd, &status));
  EXPECT_EQ(0U, status.st_nlink);
  EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD) & FD_CLOEXEC);
}

TEST(NamelessFile, IsInAFolderWithoutAName) {
  const TemporaryFolder folder;
  const Descriptor file(nameless_file_in(folder.path()));
  expect_a_private_file(file.get());
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(NamelessFile, IsInMemory) {
  const Descriptor file(nameless_file_in_memory());
  expect_a_private_file(file.get());
}

TEST(NamelessFile, NeedsAFolder) {
  const TemporaryFolder folder;
  EXPECT_GT(0, nameless_file_in(folder.file("missing")));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_GT(0, nameless_file_in(folder.write("file", "")));
  EXPECT_EQ(ENOTDIR, errno);
}

}  // namespace
}  // namespace Quarrow
