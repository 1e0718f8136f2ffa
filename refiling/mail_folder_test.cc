// Messages found by the unique parts of their names.
#include "refiling/mail_folder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "refiling/refiling_test_support.h"

namespace Quarrow::Refiling {
namespace {

class MailFolderTest : public testing::Test {
 protected:
  MailFolderTest() {
    maildir_.make(".A");
    maildir_.put("cur/a,S=1:2,S");
    maildir_.put("new/b");
    maildir_.put("cur/.hidden");
    EXPECT_EQ(0, inbox_.open(maildir_.file("Maildir"), ""));
    EXPECT_EQ(0, other_.open(maildir_.file("Maildir"), ".A"));
    EXPECT_EQ(0, inbox_.read());
    EXPECT_EQ(0, other_.read());
  }

  const TemporaryMaildir maildir_;
  MailFolder inbox_;
  MailFolder other_;
};

TEST_F(MailFolderTest, FindsMessages) {
  EXPECT_EQ((Place{false, ":2,S"}), inbox_.find("a,S=1"));
  EXPECT_EQ((Place{true, ""}), inbox_.find("b"));
  for (const char* name : {"a", "a,S=1:2,S", "", ".hidden"})
    EXPECT_FALSE(inbox_.find(name)) << name;
}

TEST_F(MailFolderTest, ReplacesNoFile) {
  maildir_.put(".A/new/b");
  maildir_.put(".A/cur/a,S=1:2,S");
  EXPECT_EQ(EEXIST, inbox_.move("b", other_, ""));
  EXPECT_EQ(EEXIST, inbox_.link("a,S=1", other_, ":2,S"));
  EXPECT_EQ(0, inbox_.move("a,S=1", other_, ":2,FS"));
  EXPECT_EQ(Lines({".A/cur/a,S=1:2,FS", ".A/cur/a,S=1:2,S", ".A/new/b", "/cur/.hidden", "/new/b"}),
            maildir_.messages());
}

TEST_F(MailFolderTest, TellsOneFileFromTwo) {
  EXPECT_FALSE(inbox_.shares("b", other_));
  EXPECT_EQ(0, inbox_.link("b", other_, ""));
  EXPECT_TRUE(inbox_.shares("b", other_));
  EXPECT_EQ(0, inbox_.remove("b"));
  EXPECT_FALSE(inbox_.shares("b", other_));
  maildir_.put("new/b");
  EXPECT_EQ(0, inbox_.read());
  EXPECT_FALSE(inbox_.shares("b", other_));
}

TEST_F(MailFolderTest, FollowsNoLink) {
  maildir_.make("real");
  std::filesystem::create_directory_symlink("real", maildir_.folder(".L"));
  maildir_.make(".M");
  std::filesystem::remove(maildir_.folder(".M/cur"));
  std::filesystem::create_directory_symlink("new", maildir_.folder(".M/cur"));
  for (const char* name : {".L", ".M"})
    EXPECT_EQ(ENOTDIR, MailFolder().open(maildir_.file("Maildir"), name)) << name;
  EXPECT_EQ(ENOENT, MailFolder().open(maildir_.file("Maildir"), ".N"));
}

TEST(ReadableFolderTest, IsTheNameThatClientsShow) {
  const struct {
    const char* folder;
    const char* want;
  } cases[] = {{"", "INBOX"},        {".A", "A"},
               {".A.B", "A/B"},      {".Gr&APYA3w-e", "Größe"},
               {".v1\\2e2", "v1.2"}, {".a\\5cb.\\7ec", "a\\b/~c"},
               {".a\\", "a\\"}};
  for (const auto& c : cases) EXPECT_EQ(c.want, readable_folder(c.folder)) << c.folder;
}

}  // namespace
}  // namespace Quarrow::Refiling
