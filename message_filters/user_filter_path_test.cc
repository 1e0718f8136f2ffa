// The names of a user's files, and their replacement.
#include "message_filters/user_filter_path.h"

#include <gtest/gtest.h>
#include <zvelluser.h>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::MessageFilters {
namespace {

TEST(UserFilterPath, SelectorsNameFilesInThePreferenceFolder) {
  mailuser_set_root("/users");
  const EmailAddress address("bob@example.org");
  const std::string folder = ZvMailUserId(MAILBOX_USER, "bob@example.org").prefpath();
  const struct {
    int selector;
    std::string want;
  } cases[] = {{FILTER_XML, folder + "/.delivery_filter.xml"},
               {FILTER_SIEVE, folder + "/.delivery_filter"},
               {CUSTOM_FIELDS_XML, folder + "/.delivery_filter.custom.xml"},
               {FILTER_DIRECTORY, ""},
               {4, ""},
               {-1, ""}};
  for (const auto& c : cases) EXPECT_EQ(c.want, user_filter_path(address, c.selector));
  EXPECT_EQ(1, FILTER_XML);
  EXPECT_EQ(2, FILTER_SIEVE);
  EXPECT_EQ(3, CUSTOM_FIELDS_XML);
}

class PutInPlace : public testing::Test {
 protected:
  const TemporaryFolder folder_;
  const std::string path_ = folder_.file("rules");
};

TEST_F(PutInPlace, ReplacesTheOldFile) {
  write_file(path_, "old");
  write_file(path_ + ".tmp", "new");
  put_in_place(path_);
  EXPECT_EQ("new", content_of(path_));
  EXPECT_EQ("(no file)", content_of(path_ + ".tmp"));
}

TEST_F(PutInPlace, NeedsNoOldFile) {
  write_file(temporary_path(path_), "new");
  put_in_place(path_);
  EXPECT_EQ("new", content_of(path_));
}

TEST_F(PutInPlace, RemovesTheOldFileEvenWithoutANewOne) {
  write_file(path_, "old");
  put_in_place(path_);
  EXPECT_EQ("(no file)", content_of(path_));
}

}  // namespace
}  // namespace Quarrow::MessageFilters
