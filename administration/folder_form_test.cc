// Users' folders that change their form, by root and by others.
#include "administration/folder_form.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <vector>

#include "administration/administration_test_support.h"
#include "administration/users.h"
#include "system/traced_process_test_support.h"

namespace Quarrow::Administration {
namespace {

namespace fs = std::filesystem;

class FolderFormTest : public testing::Test {
 protected:
  FolderFormTest() { fs::create_directories(flat_); }

  Refusal change(FolderForm form, const EmailAddress& user = alice) {
    return change_form(root_.path(), user, form, change_);
  }

  Refusal plan(FolderForm form) { return plan_form_change(root_.path(), alice, form, change_); }

  const TemporaryRoot root_;
  const std::string flat_ = root_.file("example.org/alice");
  const std::string hashed_ = root_.file("example.org/%/63/84/alice");
  FormChange change_;
};

TEST_F(FolderFormTest, ChangesWithAllThatIsInTheFolder) {
  const std::string letter = root_.write("example.org/alice/letter", "here");
  EXPECT_EQ("", said(change(FolderForm::hashed)));
  EXPECT_EQ(flat_, change_.from);
  EXPECT_EQ(hashed_, change_.to);
  EXPECT_EQ(hashed_, user_folder(alice));
  EXPECT_EQ("here", content_of(hashed_ + "/letter"));
  EXPECT_FALSE(fs::exists(flat_));
  EXPECT_EQ("", said(change(FolderForm::flat)));
  EXPECT_EQ("here", content_of(letter));
  EXPECT_FALSE(fs::exists(hashed_));
}

TEST_F(FolderFormTest, StaysWhereItIsThatOneAlready) {
  EXPECT_EQ("", said(change(FolderForm::flat)));
  EXPECT_FALSE(change_.is_needed());
  EXPECT_FALSE(fs::exists(root_.file("example.org/%")));
  for (int times = 0; times < 2; ++times) EXPECT_EQ("", said(change(FolderForm::hashed)));
  EXPECT_FALSE(change_.is_needed());
  EXPECT_TRUE(fs::exists(hashed_));
}

TEST_F(FolderFormTest, IsPlannedWithoutBeingChanged) {
  EXPECT_EQ("", said(plan(FolderForm::hashed)));
  EXPECT_TRUE(change_.is_needed());
  EXPECT_EQ(hashed_, change_.to);
  EXPECT_FALSE(fs::exists(root_.file("example.org/%")));
  EXPECT_EQ(flat_, user_folder(alice));
}

TEST_F(FolderFormTest, LosesTheEscapedNameOfEarlierVersions) {
  const EmailAddress obrien("o'brien@example.org");
  fs::create_directories(root_.file("example.org/o%27brien"));
  EXPECT_EQ("", said(change(FolderForm::flat, obrien)));
  EXPECT_FALSE(change_.is_needed());
  EXPECT_EQ("", said(change(FolderForm::hashed, obrien)));
  EXPECT_EQ("", said(change(FolderForm::flat, obrien)));
  EXPECT_EQ(root_.file("example.org/o'brien"), user_folder(obrien));
  EXPECT_FALSE(fs::exists(root_.file("example.org/o%27brien")));
}

TEST_F(FolderFormTest, IsThatOfLongNames) {
  const EmailAddress user("alice@" + std::string(90, '/') + ".example");
  UserSetup setup;
  EXPECT_EQ("", said(add_user(root_.path(), user, setup)));
  for (const FolderForm form : {FolderForm::hashed, FolderForm::flat}) {
    EXPECT_EQ("", said(change(form, user)));
    EXPECT_TRUE(change_.is_needed());
    EXPECT_EQ("", said(check_known(user)));
  }
  EXPECT_EQ(setup.folder, user_folder(user));
}

TEST_F(FolderFormTest, IsRefusedToAStranger) {
  expect_refusal(Kind::no_such_user, "bob@example.org", "no such user",
                 change(FolderForm::hashed, EmailAddress("bob@example.org")));
}

TEST_F(FolderFormTest, IsRefusedToAUserWithBothFolders) {
  fs::create_directories(hashed_);
  for (const FolderForm form : {FolderForm::hashed, FolderForm::flat})
    for (const Refusal& refusal : {plan(form), change(form)})
      expect_refusal(Kind::not_made, "alice@example.org",
                     "has two folders, " + flat_ + " and " + hashed_ +
                         ", of which the first is in use; look into both, and move one aside",
                     refusal);
  EXPECT_TRUE(fs::exists(flat_));
  EXPECT_TRUE(fs::exists(hashed_));
}

TEST_F(FolderFormTest, IsRefusedToAUserWithBothSpellings) {
  fs::create_directories(root_.file("example.org/o%27brien"));
  fs::create_directories(root_.file("example.org/o'brien"));
  EXPECT_EQ(Kind::not_made, change(FolderForm::hashed, EmailAddress("o'brien@example.org")).kind);
}

TEST_F(FolderFormTest, StaysWhileTheUserIsLocked) {
  root_.write("example.org/alice/.quarrow_lock", "");
  EXPECT_EQ(flat_ +
                ": nothing was changed, since the user is being moved to another machine; try "
                "again later",
            said(change(FolderForm::hashed)));
  EXPECT_EQ(flat_, user_folder(alice));
}

TEST_F(FolderFormTest, IsThatOfALinkWhichNamesItsWholeTarget) {
  fs::create_directories(root_.file("disk/alice"));
  fs::remove(flat_);
  fs::create_directory_symlink("../disk/alice", flat_);
  expect_refusal(Kind::not_made, flat_,
                 "is a link to ../disk/alice, which would lead elsewhere; have it name the whole "
                 "path first",
                 change(FolderForm::hashed));
  EXPECT_EQ(flat_, user_folder(alice));
  fs::remove(flat_);
  fs::create_directory_symlink(root_.file("disk/alice"), flat_);
  EXPECT_EQ("", said(change(FolderForm::hashed)));
  EXPECT_EQ("", said(check_known(alice)));
  EXPECT_TRUE(fs::is_symlink(hashed_));
}

TEST_F(FolderFormTest, IsToldWhenItCantChange) {
  expect_refusal(
      Kind::not_permitted, root_.file("example.org/%"), "can't be made: Permission denied",
      without_writing_in(root_.file("example.org"), [this] { return change(FolderForm::hashed); }));
  EXPECT_TRUE(fs::exists(flat_));
  fs::create_directories(root_.file("example.org/%/63/84"));
  fs::permissions(root_.file("example.org"), fs::perms(0755));
  expect_refusal(Kind::not_permitted, flat_, "can't be moved to " + hashed_ + ": Permission denied",
                 without_writing_in(root_.file("example.org/%/63/84"),
                                    [this] { return change(FolderForm::hashed); }));
  EXPECT_EQ(flat_, user_folder(alice));
}

TEST_F(FolderFormTest, IsChangedByTheOwnerOfTheFoldersAbove) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give folders away";
  constexpr uid_t nobody = 65534;
  for (const std::string& folder : {root_.path(), root_.file("example.org"), flat_})
    ASSERT_EQ(0, chown(folder.c_str(), nobody, nobody));
  EXPECT_EQ("", said(change(FolderForm::hashed)));
  for (const char* folder : {"example.org/%", "example.org/%/63", "example.org/%/63/84"}) {
    struct stat status {};
    ASSERT_EQ(0, stat(root_.file(folder).c_str(), &status));
    EXPECT_EQ(nobody, status.st_uid) << folder;
  }
}

TEST_F(FolderFormTest, IsNotFollowedToWhereTheOwnerMayNotWrite) {
  if (geteuid() != 0) GTEST_SKIP() << "others have no more rights than the owner anyway";
  const TemporaryFolder elsewhere;
  fs::permissions(elsewhere.path(), fs::perms(0755));
  fs::create_directory_symlink(elsewhere.path(), root_.file("example.org/%"));
  ASSERT_EQ(0, lchown(root_.file("example.org/%").c_str(), 65534, 65534));
  EXPECT_EQ(Kind::not_permitted, change(FolderForm::hashed).kind);
  EXPECT_TRUE(fs::is_empty(elsewhere.path()));
}

// The new name gets onto the disk before the old one goes.
TEST_F(FolderFormTest, IsOnTheDisk) {
  TracedProcess process([&] { (void)change(FolderForm::hashed); });
  if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
  std::vector<std::string> behind;
  bool is_renamed = false;
  while (process.step()) {
    const long call = process.beginning_call();
    is_renamed |= call == SYS_renameat2;
    if (is_renamed && call == SYS_fsync)
      behind.push_back(fs::relative(process.file_of_call(), root_.path()).string());
  }
  EXPECT_EQ((std::vector<std::string>{"example.org/%/63/84", "example.org"}), behind);
}

}  // namespace
}  // namespace Quarrow::Administration
