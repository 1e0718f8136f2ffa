// The lock, and who is kept out by it.
#include "moving/user_locking.h"

#include <sys/inotify.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <future>

#include "moving/moving_test_support.h"
#include "refiling/journal.h"
#include "system/process_end.h"

namespace Quarrow::Moving {
namespace {

class UserLocking : public MovingTest {
 protected:
  std::optional<std::string> reason() const { return lock_reason(old_folder_); }
};

TEST_F(UserLocking, LocksUntilItIsTakenAway) {
  EXPECT_EQ(std::nullopt, reason());
  EXPECT_EQ("", said(lock_user(alice, "goes to mx2")));
  EXPECT_EQ("goes to mx2", reason());
  EXPECT_EQ("", said(lock_user(alice, "")));
  EXPECT_EQ("goes to mx2", reason());
  EXPECT_EQ("", said(lock_user(alice, "goes to mx3")));
  EXPECT_EQ("goes to mx3", reason());
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ("", said(unlock_user(alice)));
    EXPECT_EQ(std::nullopt, reason());
  }
}

TEST_F(UserLocking, RefusesAUserWhoIsNotThere) {
  const EmailAddress bob("bob@example.org");
  EXPECT_EQ(Kind::no_such_user, lock_user(bob, "").kind);
  EXPECT_EQ(Kind::no_such_user, unlock_user(bob).kind);
  EXPECT_EQ(Kind::no_such_user, empty_user(bob, true).kind);
}

// Waits until another process opens a file in the folder.
void await_opening(const Descriptor& watch) {
  std::array<char, 4096> events{};
  EXPECT_LT(0, read(watch.get(), events.data(), events.size()));
}

// A process that begins a change, and ends it when it is told to.
class OtherChange {
 public:
  OtherChange() {
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_.data()));
    child_ = fork();
    if (child_ == 0) _exit(change(ends_[1]) ? 0 : 1);
    (void)close(ends_[1]);
    EXPECT_EQ(1, read(ends_[0], &byte_, 1));
  }
  ~OtherChange() { (void)close(ends_[0]); }
  OtherChange(const OtherChange&) = delete;
  OtherChange& operator=(const OtherChange&) = delete;

  // Whether the change was committed.
  bool finish() {
    EXPECT_EQ(1, write(ends_[0], &byte_, 1));
    return wait_for(child_).status == 0;
  }

 private:
  bool change(int end) {
    Administration::RulesTransaction rules(alice);
    return !rules.open() && !rules.remove(1) && write(end, &byte_, 1) == 1 &&
           read(end, &byte_, 1) == 1 && !rules.commit();
  }

  std::array<int, 2> ends_{};
  pid_t child_ = 0;
  char byte_ = 'x';
};

TEST_F(UserLocking, WaitsForAChangeThatWasBegun) {
  OtherChange change;
  const Descriptor watch(inotify_init1(IN_CLOEXEC));
  const std::string lock = old_folder_ + "/.delivery_filter.lock";
  ASSERT_LE(0, inotify_add_watch(watch.get(), lock.c_str(), IN_OPEN));
  auto locked = std::async(std::launch::async, [] { return said(lock_user(alice, "")); });
  await_opening(watch);
  EXPECT_TRUE(change.finish());
  EXPECT_EQ("", locked.get());
  EXPECT_EQ("", reason());
}

TEST_F(UserLocking, DoesNotLockWhileTheMailIsMoved) {
  Refiling::Journal journal;
  ASSERT_EQ("", said(journal.open(old_folder_)));
  EXPECT_EQ(Kind::try_again, lock_user(alice, "").kind);
  EXPECT_EQ(std::nullopt, reason());
}

TEST_F(UserLocking, EmptiesTheFolderOfALockedUserAlone) {
  const Tree before = without_locks(tree_of(old_folder_));
  EXPECT_EQ(Kind::not_locked, empty_user(alice, true).kind);
  EXPECT_EQ("", said(lock_user(alice, "gone")));
  EXPECT_EQ(Kind::has_mail, empty_user(alice, false).kind);
  EXPECT_EQ(before, without_locks(tree_of(old_folder_)));
  EXPECT_EQ("", said(empty_user(alice, true)));
  EXPECT_EQ(Tree(), without_locks(tree_of(old_folder_)));
  EXPECT_EQ("gone", reason());
  EXPECT_EQ("", said(empty_user(alice, false)));
}

TEST_F(UserLocking, KnowsAnEmptiedFolder) {
  const auto emptied = [this] {
    const Descriptor folder(open(old_folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return is_emptied(folder.get());
  };
  EXPECT_FALSE(emptied());
  EXPECT_EQ("", said(lock_user(alice, "")));
  EXPECT_FALSE(emptied());
  EXPECT_EQ("", said(empty_user(alice, true)));
  EXPECT_TRUE(emptied());
  EXPECT_EQ("", said(unlock_user(alice)));
  EXPECT_FALSE(emptied());
}

}  // namespace
}  // namespace Quarrow::Moving
