// Errors that trials of writing find out.
#include "administration/write_error.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "administration/administration_test_support.h"

namespace Quarrow::Administration {
namespace {

TEST(ErrorOfOpening, IsThatOfTheSystem) {
  const TemporaryFolder folder;
  EXPECT_EQ(0, error_of_opening(folder.file("new")));
  EXPECT_EQ("", content_of(folder.file("new")));
  EXPECT_EQ(0, error_of_opening(folder.write("old", "text")));
  EXPECT_EQ("text", content_of(folder.file("old")));
  EXPECT_EQ(EISDIR, error_of_opening(folder.path()));
  EXPECT_EQ(ENOENT, error_of_opening(folder.file("missing/file")));
}

TEST(ErrorOfWriting, IsThatOfTheSystemAndLeavesNothing) {
  const TemporaryFolder folder;
  EXPECT_EQ(0, error_of_writing(folder.path(), 100000));
  EXPECT_EQ(ENOENT, error_of_writing(folder.file("missing"), 1));
  const Refusal refusal = in_child([&folder] {
    limit_file_size(1000);
    return system_refusal("", "", error_of_writing(folder.path(), 1001));
  });
  EXPECT_EQ("File too large", refusal.reason);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

}  // namespace
}  // namespace Quarrow::Administration
