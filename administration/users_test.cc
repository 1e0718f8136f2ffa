// Users added, found, listed and removed, by root and by others.
#include "administration/users.h"

#include <base.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>

#include "administration/administration_test_support.h"
#include "system/traced_process_test_support.h"

namespace Quarrow::Administration {
namespace {

namespace fs = std::filesystem;

constexpr uid_t nobody = 65534;

class UsersTest : public testing::Test {
 protected:
  UserSetup add(const std::string& address) const {
    UserSetup setup;
    EXPECT_EQ("", said(add_user(root_.path(), EmailAddress(address), setup)));
    return setup;
  }

  std::vector<std::string> list() const {
    std::vector<std::string> users;
    EXPECT_EQ("", said(list_users(root_.path(), users)));
    return users;
  }

  const TemporaryRoot root_;
  const std::string folder_ = root_.file("example.org/alice");
};

uid_t owner_of(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_uid : 0;
}

TEST_F(UsersTest, AreKnownFromTheTimeOnThatTheyAreAdded) {
  expect_refusal(Kind::no_such_user, "alice@example.org", "no such user", check_known(alice));
  const UserSetup setup = add("alice@example.org");
  EXPECT_TRUE(setup.made);
  EXPECT_EQ(folder_, setup.folder);
  EXPECT_EQ("", said(check_known(alice)));
  EXPECT_FALSE(add("alice@example.org").made);
}

TEST_F(UsersTest, ArePlannedWithoutBeingMade) {
  UserSetup setup;
  EXPECT_EQ("", said(plan_user(alice, setup)));
  EXPECT_TRUE(setup.made);
  EXPECT_EQ(folder_, setup.folder);
  EXPECT_FALSE(fs::exists(folder_));
  add("alice@example.org");
  EXPECT_EQ("", said(plan_user(alice, setup)));
  EXPECT_FALSE(setup.made);
}

TEST_F(UsersTest, AreListedWhereverTheirFoldersLie) {
  const std::string long_address =
      std::string(60, 'a') + '@' + std::string(60, 'b') + ".example.org";
  add(long_address);
  add("a/b%zz@example.org");
  const std::vector<std::string> want = {"a/b%zz@example.org", long_address};
  EXPECT_EQ(want, list());
  // Folders that no address leads to are nobody's.
  fs::create_directory_symlink(root_.path(), root_.file("example.org/loop%"));
  fs::create_directory(root_.file("example.org/part%"));
  fs::create_directory(root_.file("example.org/.hidden"));
  EXPECT_EQ(want, list());
}

TEST_F(UsersTest, AreRefusedToBeRemovedBeforeAnythingIsDone) {
  EXPECT_EQ(Kind::no_such_user, check_removal(alice, true).kind);
  add("alice@example.org");
  EXPECT_EQ("", said(check_removal(alice, false)));
  fs::create_directory(folder_ + "/Maildir");
  EXPECT_EQ(Kind::has_mail, check_removal(alice, false).kind);
  EXPECT_EQ("", said(check_removal(alice, true)));
  EXPECT_TRUE(fs::exists(folder_));
}

TEST_F(UsersTest, HaveAFolderOfTheirOwn) {
  add("alice@example.org");
  struct stat status {};
  ASSERT_EQ(0, stat(folder_.c_str(), &status));
  EXPECT_EQ(0700U, status.st_mode & 07777U);
}

// The folders that get onto the disk while a user is added, in order, as names below the root.
std::vector<std::string> synchronised(TracedProcess& process, const std::string& root) {
  std::vector<std::string> names;
  while (process.step())
    if (process.beginning_call() == SYS_fsync)
      names.push_back(fs::relative(process.file_of_call(), root).string());
  return names;
}

TEST_F(UsersTest, AreOnTheDiskWithAllFoldersThatWereMade) {
  const struct {
    const char* address;
    std::vector<std::string> want;
  } cases[] = {{"alice@example.org", {"example.org/alice", "example.org", "."}},
               {"bob@example.org", {"example.org/bob", "example.org"}},
               {"bob@example.org", {}}};
  for (const auto& c : cases) {
    TracedProcess process([&] { (void)add(c.address); });
    if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
    EXPECT_EQ(c.want, synchronised(process, root_.path())) << c.address;
  }
}

TEST_F(UsersTest, AreOnTheDiskBelowARootThatIsNamedFromTheWorkingFolder) {
  const Refusal refusal = in_child([this]() -> Refusal {
    fs::current_path(root_.path());
    mailuser_set_root("new/root");
    UserSetup setup;
    return add_user("new/root", alice, setup);
  });
  EXPECT_EQ("", said(refusal));
  EXPECT_TRUE(fs::is_directory(root_.file("new/root/example.org/alice")));
}

TEST_F(UsersTest, AreNotSaidToBeThereBeforeTheDiskHasThem) {
  const std::string domain = root_.file("example.org");
  fs::create_directory(domain);
  fs::permissions(domain, fs::perms(0333));  // it can be written, but not opened
  expect_refusal(Kind::not_permitted, folder_,
                 "made, but perhaps not on the disk: Permission denied",
                 as_nobody([this]() -> Refusal {
                   UserSetup setup;
                   return add_user(root_.path(), alice, setup);
                 }));
  fs::permissions(domain, fs::perms(0700));
}

TEST_F(UsersTest, BelongToTheOwnerOfTheFolderAbove) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give folders away";
  ASSERT_EQ(0, chown(root_.path().c_str(), nobody, nobody));
  add("alice@example.org");
  EXPECT_EQ(nobody, owner_of(root_.file("example.org")));
  EXPECT_EQ(nobody, owner_of(folder_));
  EXPECT_EQ("", said(remove_user(root_.path(), alice, false)));
}

TEST_F(UsersTest, AreNotFollowedToFoldersThatTheOwnerMayNotWrite) {
  if (geteuid() != 0) GTEST_SKIP() << "others have no more rights than the owner anyway";
  const TemporaryFolder elsewhere;
  fs::permissions(elsewhere.path(), fs::perms(0755));
  fs::create_directories(elsewhere.file("alice"));
  fs::create_directory_symlink(elsewhere.path(), root_.file("example.org"));
  ASSERT_EQ(0, lchown(root_.file("example.org").c_str(), nobody, nobody));
  EXPECT_EQ(Kind::not_permitted, remove_user(root_.path(), alice, false).kind);
  UserSetup setup;
  EXPECT_EQ(Kind::not_permitted,
            add_user(root_.path(), EmailAddress("bob@example.org"), setup).kind);
  EXPECT_TRUE(fs::exists(elsewhere.file("alice")));
  EXPECT_FALSE(fs::exists(elsewhere.file("bob")));
}

TEST_F(UsersTest, AreGoneWithAllTheirRules) {
  add("alice@example.org");
  root_.write("example.org/alice/.delivery_filter", "keep;");
  EXPECT_EQ("", said(remove_user(root_.path(), alice, false)));
  EXPECT_EQ(Kind::no_such_user, check_known(alice).kind);
  EXPECT_TRUE(fs::is_empty(root_.file("example.org")));
  EXPECT_EQ(Kind::no_such_user, remove_user(root_.path(), alice, false).kind);
}

TEST_F(UsersTest, KeepTheirMailUnlessItIsMeant) {
  add("alice@example.org");
  fs::create_directories(folder_ + "/Maildir/new");
  root_.write("example.org/alice/Maildir/new/1", "mail");
  expect_refusal(Kind::has_mail, "alice@example.org", "has mail in " + folder_ + "/Maildir",
                 remove_user(root_.path(), alice, false));
  EXPECT_TRUE(fs::exists(folder_ + "/Maildir/new/1"));
  EXPECT_EQ("", said(remove_user(root_.path(), alice, true)));
  EXPECT_TRUE(fs::is_empty(root_.file("example.org")));
}

TEST_F(UsersTest, LeaveWhatALinkLeadsTo) {
  const TemporaryFolder elsewhere;
  const std::string kept = elsewhere.write("kept", "");
  add("alice@example.org");
  fs::create_directory_symlink(elsewhere.path(), folder_ + "/link");
  EXPECT_EQ("", said(remove_user(root_.path(), alice, false)));
  EXPECT_TRUE(fs::exists(kept));
}

TEST_F(UsersTest, AreListedByAddress) {
  const std::string longest(64, '/');
  const std::string domain = std::string(100, '[') + ".example";
  const std::vector<std::string> users = {longest + "@" + domain, "Bob@example.org",
                                          "a%b@example.net", "alice@example.org",
                                          "m\xC3\xBCller@b\xC3\xBC.example"};
  for (const std::string& user : users) add(user);
  EXPECT_EQ(users, list());
}

// Users of a system whose configuration asks for hashed folders.
class HashedUsersTest : public UsersTest {
 protected:
  HashedUsersTest() {
    settings_.hashed_folders = 1;
    cmdb.system = &settings_;
  }
  ~HashedUsersTest() override { cmdb.system = nullptr; }

  SystemRecord settings_;
  const std::string hashed_ = root_.file("example.org/%/63/84/alice");
};

TEST_F(HashedUsersTest, AreAddedThere) {
  UserSetup setup;
  EXPECT_EQ("", said(plan_user(alice, setup)));
  EXPECT_EQ(hashed_, setup.folder);
  EXPECT_EQ(hashed_, add("alice@example.org").folder);
  EXPECT_TRUE(fs::is_directory(hashed_));
  EXPECT_FALSE(add("alice@example.org").made);
  EXPECT_EQ("", said(remove_user(root_.path(), alice, false)));
  EXPECT_TRUE(fs::is_empty(root_.file("example.org/%/63/84")));
}

TEST_F(HashedUsersTest, KeepTheFlatFolderThatTheyHave) {
  fs::create_directories(folder_);
  EXPECT_FALSE(add("alice@example.org").made);
  EXPECT_EQ(folder_, user_folder(alice));
}

TEST_F(HashedUsersTest, AreListedWithTheOthers) {
  const std::string longest(64, '/');
  std::vector<std::string> users = {longest + "@example.org", "alice@example.org",
                                    "bob@example.net", "carol@example.org", "o'brien@example.org"};
  for (const std::string& user : users) add(user);
  settings_.hashed_folders = 0;
  users.insert(users.begin() + 1, "63@example.org");
  add("63@example.org");
  EXPECT_EQ(users, list());
  // where no address leads to
  fs::create_directories(root_.file("example.org/%/00/00/dave"));
  fs::create_directories(root_.file("example.org/%/%/00/dave"));
  fs::create_directories(root_.file("%/00/00/dave"));
  root_.write("example.org/%/file", "");
  EXPECT_EQ(users, list());
  std::vector<std::string> found;
  EXPECT_EQ("", said(list_users(root_.path(), found, "car")));
  EXPECT_EQ(std::vector<std::string>{"carol@example.org"}, found);
}

TEST_F(HashedUsersTest, AreOnTheDiskWithAllFoldersThatWereMade) {
  TracedProcess process([&] { (void)add("alice@example.org"); });
  if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
  const std::vector<std::string> names = synchronised(process, root_.path());
  for (const char* folder : {".", "example.org", "example.org/%", "example.org/%/63",
                             "example.org/%/63/84", "example.org/%/63/84/alice"})
    EXPECT_NE(names.end(), std::find(names.begin(), names.end(), folder)) << folder;
}

TEST_F(HashedUsersTest, AreReachedByAllWhoMayLookIntoTheDomain) {
  fs::create_directory(root_.file("example.org"));
  fs::permissions(root_.file("example.org"), fs::perms(0755));
  add("alice@example.org");
  for (const char* folder : {"example.org/%", "example.org/%/63", "example.org/%/63/84"})
    EXPECT_EQ(fs::perms(0755), fs::status(root_.file(folder)).permissions()) << folder;
  EXPECT_EQ(fs::perms(0700), fs::status(hashed_).permissions());
}

TEST_F(UsersTest, HaveFoldersThatAreNamedAsTheirAddressesStand) {
  EXPECT_EQ(root_.file("example.org/o'brien"), add("o'brien@example.org").folder);
  EXPECT_FALSE(add("o'brien@example.org").made);
  EXPECT_EQ(std::vector<std::string>{"o'brien@example.org"}, list());
  EXPECT_EQ("", said(remove_user(root_.path(), EmailAddress("o'brien@example.org"), false)));
  EXPECT_TRUE(fs::is_empty(root_.file("example.org")));
}

TEST_F(UsersTest, KeepTheFolderWithTheEscapedName) {
  const std::string escaped = root_.file("example.org/o%27brien");
  fs::create_directories(escaped);
  const UserSetup setup = add("o'brien@example.org");
  EXPECT_FALSE(setup.made);
  EXPECT_EQ(escaped, setup.folder);
  EXPECT_FALSE(fs::exists(root_.file("example.org/o'brien")));
  // an IMAP server may have made the other one
  fs::create_directories(root_.file("example.org/o'brien"));
  EXPECT_EQ(escaped, user_folder(EmailAddress("o'brien@example.org")));
  EXPECT_EQ(std::vector<std::string>{"o'brien@example.org"}, list());
}

TEST_F(UsersTest, AreToldFromOtherFilesAndFolders) {
  add("alice@example.org");
  root_.write("file", "");
  root_.write("example.org/file", "");
  for (const char* const path : {"Capitals.org/x", ".hidden/x", "example.org/.removed-1", "x%7a/y",
                                 "empty", "example.org/%61lice"})
    fs::create_directories(root_.file(path));
  EXPECT_EQ(std::vector<std::string>{"alice@example.org"}, list());
}

TEST_F(UsersTest, AreNotListedInPart) {
  std::vector<std::string> users = {"before"};
  expect_refusal(Kind::missing, root_.file("none"), "No such file or directory",
                 list_users(root_.file("none"), users));
  EXPECT_EQ(std::vector<std::string>{"before"}, users);
}

TEST_F(UsersTest, AreListedByTheirBeginning) {
  for (const char* folder : {"example.org/alice", "example.org/bob", "example.com/alice"})
    fs::create_directories(root_.file(folder));
  std::vector<std::string> users;
  EXPECT_EQ("", said(list_users(root_.path(), users, "alice@example.o")));
  EXPECT_EQ(std::vector<std::string>{"alice@example.org"}, users);
}

TEST_F(UsersTest, AreNotKnownByAFile) {
  fs::create_directories(root_.file("example.org"));
  root_.write("example.org/alice", "");
  for (const Refusal& refusal : {check_known(alice), remove_user(root_.path(), alice, true)})
    expect_refusal(Kind::missing, folder_, "Not a directory", refusal);
  UserSetup setup;
  expect_refusal(Kind::missing, folder_, "Not a directory", add_user(root_.path(), alice, setup));
}

TEST_F(UsersTest, AreNotAddedWhereNothingMayBeWritten) {
  expect_refusal(Kind::not_permitted, folder_, "can't be made: Permission denied",
                 without_writing_in(
                     root_.path(),
                     [this]() -> Refusal {
                       UserSetup setup;
                       return add_user(root_.path(), alice, setup);
                     }));
}

}  // namespace
}  // namespace Quarrow::Administration
