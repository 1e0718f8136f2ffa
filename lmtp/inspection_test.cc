// Places with faults, looked at by a user without rights.
#include "lmtp/inspection.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "lmtp/limits.h"
#include "server/privileges.h"
#include "system/child_process_test_support.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/memory_file.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Lmtp {
namespace {

namespace fs = std::filesystem;

class InspectionTest : public ::testing::Test {
 protected:
  InspectionTest() {
    chmod(folder_.path().c_str(), 0755);
    fs::create_directory(spool());
    chmod(spool().c_str(), 01777);
    fs::create_directory(root());
  }

  std::string root() const { return folder_.file("root"); }
  std::string spool() const { return folder_.file("spool"); }

  // Makes a folder below the root, with those above it; who may do what is in `mode`.
  std::string make(const std::string& path, mode_t mode = 0777) const {
    const std::string made = root() + '/' + path;
    fs::create_directories(made);
    chmod(made.c_str(), mode);
    return made;
  }

  // What a user without rights of their own is told, a line each.
  std::string faults() const {
    const MemoryFile told;
    const auto inspect = [&] {
      if (geteuid() == 0 && !Server::become("nobody").empty()) return 1;
      for (const std::string& fault : faults_of(root(), spool()))
        (void)write_all(told.fd(), fault + '\n');
      return 0;
    };
    EXPECT_EQ(0, end_of_child(inspect).status);
    return told.read();
  }

 private:
  const TemporaryFolder folder_;
};

TEST_F(InspectionTest, FindsNothingWhereAllIsWell) {
  make("example.org/alice/Maildir/new");
  make("example.org/bob");
  EXPECT_EQ("", faults());
}

TEST_F(InspectionTest, LooksIntoHashedFolders) {
  make("example.org/%/63/84/alice/Maildir/new");
  const std::string bob = make("example.org/%/ab/cd/bob", 0555);
  for (const char* folder : {"example.org/%", "example.org/%/ab", "example.org/%/ab/cd"})
    make(folder, 0555);
  EXPECT_EQ(bob + ": Permission denied\n", faults());
}

TEST_F(InspectionTest, NamesARootThatIsMissing) {
  fs::remove(root());
  EXPECT_EQ(root() + ": No such file or directory\n", faults());
}

TEST_F(InspectionTest, NamesARootThatIsNoFolder) {
  fs::remove(root());
  const Descriptor file(open(root().c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
  EXPECT_EQ(root() + ": Not a directory\n", faults());
}

TEST_F(InspectionTest, NamesASpoolThatNoFileCanBeMadeIn) {
  chmod(spool().c_str(), 0555);
  EXPECT_EQ(spool() + ": Permission denied\n", faults());
}

TEST_F(InspectionTest, NamesTheFolderOfAUserThatCantBeWritten) {
  const std::string home = make("example.org/alice", 0555);
  EXPECT_EQ(home + ": Permission denied\n", faults());
}

TEST_F(InspectionTest, NamesAMaildirThatCantBeWritten) {
  const std::string mail = make("example.org/alice/Maildir", 0555);
  EXPECT_EQ(mail + ": Permission denied\n", faults());
}

TEST_F(InspectionTest, NamesADomainThatCantBeEntered) {
  make("example.org/alice");
  const std::string domain = make("example.org", 0000);
  EXPECT_EQ(domain + ": Permission denied\n", faults());
  chmod(domain.c_str(), 0700);  // it can be removed again
}

TEST_F(InspectionTest, FollowsNamesThatWereSplit) {
  const std::string user = make("example.org/" + std::string(254, 'x') + "%/xx", 0555);
  EXPECT_EQ(user + ": Permission denied\n", faults());
}

TEST_F(InspectionTest, WantsNoMoreThanDeliveryNeeds) {
  make("example.org/alice/Maildir/new");
  make("example.org/alice/Maildir", 0755);
  make("example.org/alice", 0755);
  make("lost+found", 0700);
  EXPECT_EQ("", faults());
}

TEST_F(InspectionTest, CountsTheFoldersThatItDoesNotName) {
  for (std::size_t i = 0; i < most_told_folders + 2; ++i)
    make("example.org/user" + std::to_string(i), 0555);
  const std::string told = faults();
  EXPECT_NE(std::string::npos, told.find("\n2 more folders of users can't be written\n")) << told;
}

}  // namespace
}  // namespace Quarrow::Lmtp
