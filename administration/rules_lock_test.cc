// Locks that are free, taken, and in the way.
#include "administration/rules_lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "administration/administration_test_support.h"

namespace Quarrow::Administration {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds short_patience{20};

class RulesLockTest : public testing::Test {
 protected:
  RulesLockTest() { std::filesystem::permissions(root_.path(), std::filesystem::perms(0755)); }

  // What a lock that is taken and let go of refuses.
  Refusal refusal_of_taking() const {
    UserFolder folder(root_.path());
    const Refusal refusal = folder.open();
    RulesLock lock;
    return refusal ? refusal : lock.take(folder, short_patience);
  }

  const TemporaryFolder root_;
  const std::string file_ = root_.file(".delivery_filter.lock");
  const std::string taken_ = "is being changed by another process; try again later";
};

TEST_F(RulesLockTest, IsOnAFileThatStays) {
  EXPECT_EQ("", said(refusal_of_taking()));
  struct stat first {
  }, second{};
  ASSERT_EQ(0, stat(file_.c_str(), &first));
  EXPECT_EQ(0600u, first.st_mode & 0777);
  EXPECT_EQ("", said(refusal_of_taking()));
  ASSERT_EQ(0, stat(file_.c_str(), &second));
  EXPECT_EQ(first.st_ino, second.st_ino);
}

TEST_F(RulesLockTest, IsWaitedForUntilItsDeadline) {
  write_file(file_, "");
  for (const std::string& path : {file_, root_.path()}) {
    const Descriptor other(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(0, flock(other.get(), LOCK_EX));
    expect_refusal(Kind::try_again, root_.path(), taken_, refusal_of_taking());
  }
  EXPECT_EQ("", said(refusal_of_taking()));
}

TEST_F(RulesLockTest, IsNotTakenOnALinkOrAPipe) {
  const std::string outside = root_.write("outside", "");
  std::filesystem::create_symlink(outside, file_);
  expect_refusal(Kind::not_written, file_, "is not a regular file; remove it", refusal_of_taking());
  std::filesystem::remove(file_);
  ASSERT_EQ(0, mkfifo(file_.c_str(), 0600));
  expect_refusal(Kind::not_written, file_, "is not a regular file; remove it", refusal_of_taking());
}

TEST_F(RulesLockTest, AllowsOthersThanTheOwnerToReadOnly) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can act as another user";
  const auto may_change = [this]() -> Refusal {
    UserFolder folder(root_.path());
    Refusal refusal = folder.open();
    RulesLock lock;
    if (!refusal) refusal = lock.take(folder, short_patience);
    if (!refusal && lock.may_change()) return {Kind::crashed, "lock", "may change"};
    return refusal;
  };
  EXPECT_EQ("", said(as_nobody(may_change)));
  std::filesystem::permissions(root_.path(), std::filesystem::perms(0777));
  EXPECT_EQ("", said(as_nobody(may_change)));
  EXPECT_FALSE(std::filesystem::exists(file_));
}

TEST_F(RulesLockTest, IsNotTakenOnTheFileOfAnother) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  write_file(file_, "");
  ASSERT_EQ(0, chown(file_.c_str(), 65534, 65534));
  expect_refusal(Kind::not_permitted, file_, "belongs to another user than the folder; remove it",
                 refusal_of_taking());
}

}  // namespace
}  // namespace Quarrow::Administration
