// Folders that are in a Maildir, and those that are not.
#include "refiling/mail_folders.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "system/descriptor.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Refiling {
namespace {

using Delivery::FolderDots;

// A Maildir with some folders, and files and links beside them.
class MailFoldersTest : public testing::Test {
 protected:
  MailFoldersTest() {
    for (const char* name : {"cur", ".Work", ".Work.Reports", ".Gr&APwA3w-e", ".a\\2eb"})
      std::filesystem::create_directory(folder_.file(name));
    folder_.write(".File", "");
    std::filesystem::create_symlink(".Work", folder_.file(".Link"));
  }

  const TemporaryFolder folder_;
};

TEST_F(MailFoldersTest, AreKnownByTheNamesThatPeopleWrite) {
  const MailFolders folders(folder_.path());
  for (const char* name : {"INBOX", "Inbox", "Work", "Work/Reports", "INBOX/Work", "Grüße", "."})
    EXPECT_FALSE(folders.is_missing(name, FolderDots::inbox)) << name;
  for (const char* name : {"work", "Reports", "File", "Link", "cur"})
    EXPECT_TRUE(folders.is_missing(name, FolderDots::inbox)) << name;
  EXPECT_FALSE(folders.is_missing("a.b", FolderDots::listescape));
  EXPECT_TRUE(folders.is_missing("a.c", FolderDots::listescape));
}

TEST_F(MailFoldersTest, AreFoundUnderTheirNamesOnTheDisk) {
  const MailFolders folders(folder_.path());
  EXPECT_EQ("", folders.find("INBOX"));
  EXPECT_EQ(".Work.Reports", folders.find("Work/Reports"));
  EXPECT_EQ(".Gr&APwA3w-e", folders.find("Grüße"));
  EXPECT_EQ(".a\\2eb", folders.find("a.b"));
  for (const char* name : {"Link", "File", "cur", "..", "", ".Work", "Work/", "../x", "inbox"})
    EXPECT_EQ(std::nullopt, folders.find(name)) << name;
}

TEST_F(MailFoldersTest, AreListedBehindTheInbox) {
  const std::vector<std::string> all = {"INBOX", "Grüße", "Work", "Work/Reports", "a.b"};
  EXPECT_EQ(all, MailFolders(folder_.path()).names());
  const Descriptor above(open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  EXPECT_EQ(std::vector<std::string>{"INBOX"}, MailFolders(".Work", above.get()).names());
  EXPECT_EQ(std::vector<std::string>(), MailFolders(folder_.file("none")).names());
}

TEST_F(MailFoldersTest, AreAskedForByNearNames) {
  const MailFolders folders(folder_.path());
  EXPECT_EQ("; did you mean Work?", folders.question("Wrok"));
  EXPECT_EQ("; did you mean Work/Reports?", folders.question("Work/Report"));
  EXPECT_EQ("; did you mean Grüße?", folders.question("Grüsse"));
  EXPECT_EQ("", folders.question("Elsewhere"));
}

TEST_F(MailFoldersTest, AreNotMissingWhereThereIsNoMaildir) {
  EXPECT_FALSE(MailFolders(folder_.file("none")).is_missing("Work", FolderDots::inbox));
  EXPECT_FALSE(MailFolders(folder_.file(".Link")).is_missing("Other", FolderDots::inbox));
}

}  // namespace
}  // namespace Quarrow::Refiling
