// Maildirs with strangers, open folders and old deliveries.
#include "doctor/maildir_examination.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "doctor/examination_test_support.h"

namespace Quarrow::Doctor {
namespace {

namespace fs = std::filesystem;

constexpr std::time_t now = 1777896000;
constexpr std::time_t hours_36 = std::time_t{36} * 3600;

class MaildirExamination : public testing::Test {
 protected:
  MaildirExamination() {
    for (const char* folder : {"", ".Work"}) make(folder);
  }

  std::string path(const std::string& name) const { return folder_.file("Maildir/" + name); }

  void make(const std::string& name) const {
    for (const char* part : {"cur", "new", "tmp"}) fs::create_directories(path(name) + '/' + part);
    for (const std::string& each : {path(""), path(name)}) fs::permissions(each, fs::perms(0700));
  }

  // A file that was changed so many seconds ago.
  void write(const std::string& name, std::time_t age) const {
    write_file(path(name), "text");
    const timespec times[] = {{now - age, 0}, {now - age, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, path(name).c_str(), times, 0));
  }

  std::string examined() {
    Administration::UserFolder folder(folder_.path());
    EXPECT_FALSE(folder.open());
    Findings findings;
    folders_ = examine_maildir(folder, now, findings);
    if (!findings.empty()) reason_ = findings.back().reason;
    return told(findings, folder_.path());
  }

  const TemporaryFolder folder_;
  std::set<std::string> folders_;
  std::string reason_;
};

TEST_F(MaildirExamination, GivesTheFoldersOfASoundOne) {
  write("subscriptions", 0);
  write(".dovecot", 0);
  write("tmp/under-way", hours_36);
  EXPECT_EQ("", examined());
  EXPECT_EQ(std::set<std::string>({".Work"}), folders_);
}

TEST_F(MaildirExamination, HasNothingToSayWithoutOne) {
  fs::remove_all(path(""));
  EXPECT_EQ("", examined());
  EXPECT_TRUE(folders_.empty());
}

TEST_F(MaildirExamination, CountsTheFilesOfOldDeliveries) {
  write("tmp/old", hours_36 + 1);
  write("tmp/older", hours_36 + 100);
  write("tmp/new", 0);
  write(".Work/tmp/old", hours_36 + 1);
  EXPECT_EQ("warning mail_leftover Maildir/tmp, warning mail_leftover Maildir/.Work/tmp, ",
            examined());
  fs::remove(path(".Work/tmp/old"));
  EXPECT_EQ("warning mail_leftover Maildir/tmp, ", examined());
  EXPECT_EQ("files of deliveries that were stopped more than 36 hours ago: 2", reason_);
}

TEST_F(MaildirExamination, FindsWhatIsNoFolder) {
  ASSERT_EQ(0, symlink(folder_.path().c_str(), path(".Linked").c_str()));
  fs::remove(path(".Work/new"));
  write(".Work/new", 0);
  fs::remove(path("tmp"));
  ASSERT_EQ(0, symlink("nowhere", path("tmp").c_str()));
  EXPECT_EQ(
      "error not_folder Maildir/tmp, error not_folder Maildir/.Linked, "
      "error not_folder Maildir/.Work/new, ",
      examined());
}

TEST_F(MaildirExamination, FollowsNoLinkInPlaceOfTheWhole) {
  fs::rename(path(""), folder_.file("elsewhere"));
  ASSERT_EQ(0, symlink("elsewhere", folder_.file("Maildir").c_str()));
  EXPECT_EQ("error not_folder Maildir, ", examined());
  EXPECT_TRUE(folders_.empty());
}

TEST_F(MaildirExamination, FindsFoldersThatOthersMayWriteTo) {
  ASSERT_EQ(0, chmod(path(".Work").c_str(), 0720));
  EXPECT_EQ("error open_mode Maildir/.Work, ", examined());
}

TEST_F(MaildirExamination, FindsFoldersOfSomebodyElse) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser gives folders away";
  ASSERT_EQ(0, chown(path(".Work").c_str(), 65000, 65000));
  EXPECT_EQ("error foreign_owner Maildir/.Work, ", examined());
}

}  // namespace
}  // namespace Quarrow::Doctor
