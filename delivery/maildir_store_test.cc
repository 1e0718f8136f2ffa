// The files on disk after a message was stored, or could not be.
#include "quarrow/delivery/maildir_store.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <set>

#include "delivery/delivery_test_support.h"
#include "system/child_process_test_support.h"
#include "system/refused_calls_test_support.h"

namespace Quarrow::Delivery {
namespace {

using Names = std::vector<std::string>;

const Names folder_parts = {"cur", "maildirfolder", "new", "tmp"};

// Work of a child process with files of at most `limit` bytes; a full disk looks the same.
int status_with_file_limit(rlim_t limit, const std::function<int()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit files{limit, limit};
    (void)signal(SIGXFSZ, SIG_IGN);
    if (setrlimit(RLIMIT_FSIZE, &files) != 0) _exit(99);
    _exit(work());
  }
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class MaildirStoreTest : public testing::Test {
 protected:
  std::string path(const std::string& name = "") const {
    return name.empty() ? maildir_ : maildir_ + '/' + name;
  }
  MaildirStore store(const std::string& host = "mx.example.org") const {
    return MaildirStore(maildir_, host);
  }
  MaildirStore::Result put(const std::string& folder, const std::string& bytes = "A: b\n\nc\n") {
    return store().store(folder, TestMessage(bytes).file());
  }
  void expect_stored(const std::string& folder) {
    const auto result = put(folder);
    EXPECT_TRUE(result) << result.reason;
  }
  mode_t mode(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(0, stat(path(name).c_str(), &status)) << name;
    return status.st_mode & 07777U;
  }

  const TemporaryFolder folder_;
  const std::string maildir_ = folder_.file("Maildir");
};

TEST_F(MaildirStoreTest, MakesTheMaildirForItsOwnerAlone) {
  expect_stored("");
  EXPECT_EQ((Names{"cur", "new", "tmp"}), names_in(path()));
  for (const char* name : {"", "cur", "new", "tmp"}) EXPECT_EQ(0700U, mode(name)) << name;
  EXPECT_EQ(0600U, mode("new/" + names_in(path("new")).at(0)));
  EXPECT_EQ(Names{"A: b\n\nc\n"}, messages_in(path()));
  EXPECT_EQ(Names{}, names_in(path("tmp")));
}

TEST_F(MaildirStoreTest, MakesAFolderAndSubscribesToIt) {
  expect_stored(".A.B");
  expect_stored(".A.B");
  EXPECT_EQ(folder_parts, names_in(path(".A.B")));
  EXPECT_EQ(0700U, mode(".A.B"));
  EXPECT_EQ(2U, messages_in(path(".A.B")).size());
  EXPECT_EQ("A.B\n", content_of(path("subscriptions")));
  EXPECT_EQ((Names{".A.B", "cur", "new", "subscriptions", "tmp"}), names_in(path()));
}

TEST_F(MaildirStoreTest, TakesBackTheMessageThatItStored) {
  for (const char* folder : {"", ".A.B"}) {
    expect_stored(folder);
    const Names before = names_in(path(folder) + "/new");
    const auto stored = put(folder);
    EXPECT_EQ(2U, names_in(path(folder) + "/new").size());
    EXPECT_TRUE(store().take_back(folder, stored.name));
    EXPECT_EQ(before, names_in(path(folder) + "/new"));
    EXPECT_FALSE(store().take_back(folder, stored.name));
  }
}

const struct {
  const char* before;
  const char* after;
} subscriptions[] = {{"", "A.B\n"},
                     {"X\n", "X\nA.B\n"},
                     {"X", "X\nA.B\n"},
                     {"A.B\n", "A.B\n"},
                     {"X\nA.B\nY\n", "X\nA.B\nY\n"},
                     {"AA.B\nA.B.C\n", "AA.B\nA.B.C\nA.B\n"},
                     {"V\t2\n\n", "V\t2\n\nA\tB\n"},
                     {"V\t2\n\nX\n", "V\t2\n\nX\nA\tB\n"},
                     {"V\t2\n\nA\tB\n", "V\t2\n\nA\tB\n"}};

TEST_F(MaildirStoreTest, AddsToTheSubscriptionsInTheirOwnForm) {
  expect_stored("");
  for (const auto& c : subscriptions) {
    std::filesystem::remove_all(path(".A.B"));
    write_file(path("subscriptions"), c.before);
    expect_stored(".A.B");
    EXPECT_EQ(c.after, content_of(path("subscriptions"))) << c.before;
  }
}

TEST_F(MaildirStoreTest, StoresWhereNothingCanBeSubscribed) {
  expect_stored("");
  ASSERT_EQ(0, mkfifo(path("subscriptions").c_str(), 0600));
  expect_stored(".A");
  std::filesystem::remove(path("subscriptions"));
  std::filesystem::create_directory(path("subscriptions"));
  expect_stored(".B");
  std::filesystem::remove(path("subscriptions"));
  std::filesystem::create_symlink(folder_.write("victim", "mine"), path("subscriptions"));
  expect_stored(".C");
  EXPECT_EQ("mine", content_of(folder_.file("victim")));
}

TEST_F(MaildirStoreTest, CompletesAFolder) {
  for (const char* part : {"tmp", "new", "cur"}) {
    expect_stored(".A");
    std::filesystem::remove_all(path(std::string(".A/") + part));
    expect_stored(".A");
  }
  std::filesystem::remove_all(path(".A"));
  std::filesystem::create_directory(path(".A"));
  expect_stored(".A");
  EXPECT_EQ(folder_parts, names_in(path(".A")));
}

TEST_F(MaildirStoreTest, PutsTheAddedHeadersInFront) {
  const TestMessage message("Subject: x\n\nbody", "Return-Path: <a@example.org>\n");
  EXPECT_TRUE(store().store("", message.file()));
  EXPECT_EQ(Names{"Return-Path: <a@example.org>\nSubject: x\n\nbody"}, messages_in(path()));
}

TEST_F(MaildirStoreTest, KeepsEveryByte) {
  std::string bytes(3 * 65536 + 1, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 % 251);
  EXPECT_TRUE(put("", bytes));
  EXPECT_TRUE(messages_in(path()) == Names{bytes});  // too long to be shown
}

TEST_F(MaildirStoreTest, LeavesThePositionOfTheMessageAlone) {
  const TestMessage message("A: b\n\n");
  ASSERT_EQ(3, lseek(message.file().fd, 3, SEEK_SET));
  EXPECT_TRUE(store().store("", message.file()));
  EXPECT_EQ(3, lseek(message.file().fd, 0, SEEK_CUR));
  EXPECT_EQ(Names{"A: b\n\n"}, messages_in(path()));
}

// `text` with "#" for each run of digits.
std::string without_numbers(const std::string& text) {
  std::string shape;
  for (const char c : text) {
    const bool digit = c >= '0' && c <= '9';
    if (!digit || shape.empty() || shape.back() != '#') shape += digit ? '#' : c;
  }
  return shape;
}

TEST_F(MaildirStoreTest, NamesFilesAsTheFormatWantsThem) {
  const TestMessage message("12345", "67\n");
  const struct {
    std::string host;
    std::string want;
  } cases[] = {{"mx.example.org", "mx.example.org"},
               {"a/b:c", "a\\057b\\072c"},
               {"two words\n", "two\\040words\\012"},
               {"h\x7f\xc3", "h\\177\\303"},
               {"", "localhost"},
               {std::string(300, 'h'), std::string(147, 'h')}};  // room is kept for a code
  for (const auto& c : cases) {
    std::filesystem::remove_all(path());
    EXPECT_TRUE(store(c.host).store("", message.file()));
    const std::string name = names_in(path("new")).at(0);
    const std::size_t host = std::min(name.size(), name.find('.', name.find('.') + 1));
    const std::size_t random = name.find('R');
    EXPECT_EQ("#.M#P#Q#", without_numbers(name.substr(0, random)));
    EXPECT_EQ(16U, name.substr(random + 1, host - random - 1).size()) << name;
    EXPECT_NE(std::string::npos, name.find('P' + std::to_string(getpid()) + 'Q')) << name;
    EXPECT_EQ('.' + c.want + ",S=8", name.substr(host));
  }
}

TEST_F(MaildirStoreTest, NeverTakesTheNameOfAnotherMessage) {
  expect_stored("");
  write_file(path("new/1.M2P3Q4.host,S=1"), "in new");
  write_file(path("tmp/1.M2P3Q5.host,S=1"), "in tmp");
  int count = 3;
  const MaildirStore counting(path(), "host",
                              [&count] { return "1.M2P3Q" + std::to_string(++count); });
  EXPECT_TRUE(counting.store("", TestMessage("x").file()));
  EXPECT_EQ("x", content_of(path("new/1.M2P3Q6.host,S=1")));
  EXPECT_EQ("in new", content_of(path("new/1.M2P3Q4.host,S=1")));
  EXPECT_EQ(Names{"1.M2P3Q5.host,S=1"}, names_in(path("tmp")));
  EXPECT_EQ("in tmp", content_of(path("tmp/1.M2P3Q5.host,S=1")));
}

TEST_F(MaildirStoreTest, GivesUpWhenEveryNameIsTaken) {
  expect_stored("");
  write_file(path("new/same.host,S=1"), "in new");
  const MaildirStore unable(path(), "host", [] { return std::string("same"); });
  EXPECT_EQ(path() + ": File exists", unable.store("", TestMessage("x").file()).reason);
  EXPECT_EQ("in new", content_of(path("new/same.host,S=1")));
  EXPECT_EQ(Names{}, names_in(path("tmp")));
}

TEST_F(MaildirStoreTest, TakesNoPartForTheWhole) {
  const TestMessage message("12345");
  MessageFile longer = message.file();
  longer.size = 6;
  const auto result = store().store("", longer);
  EXPECT_EQ(path() + ": Input/output error", result.reason);
  EXPECT_EQ(Names{}, names_in(path("new")));
  EXPECT_EQ(Names{}, names_in(path("tmp")));
}

TEST_F(MaildirStoreTest, LeavesNothingOnAFullDisk) {
  expect_stored("");
  const TestMessage large(std::string(200000, 'x'), "A: b\n");
  for (const rlim_t limit : {0U, 1U, 5U, 65536U, 65541U, 200004U}) {
    EXPECT_EQ(0, status_with_file_limit(limit,
                                        [&] {
                                          const auto result = store().store("", large.file());
                                          return result.reason == path() + ": File too large" ? 0
                                                                                              : 1;
                                        }))
        << limit;
    EXPECT_EQ(1U, names_in(path("new")).size()) << limit;
    EXPECT_EQ(Names{}, names_in(path("tmp"))) << limit;
  }
  EXPECT_EQ(
      0, status_with_file_limit(200005, [&] { return store().store("", large.file()) ? 0 : 1; }));
  EXPECT_EQ(2U, names_in(path("new")).size());
}

// NFS, for example, can't rename without replacing.
TEST_F(MaildirStoreTest, StoresWhereAFileSystemNeedsALink) {
  expect_stored("");
  const TestMessage message("linked");
  for (const int error : {EINVAL, ENOSYS}) {
    const auto storing = [&] {
      return refuse_call(SYS_renameat2, error) && store().store("", message.file()) ? 0 : 1;
    };
    EXPECT_EQ(0, end_of_child(storing).status);
  }
  const Names stored = messages_in(path());
  EXPECT_EQ(2, std::count(stored.begin(), stored.end(), "linked"));
  EXPECT_EQ(Names{}, names_in(path("tmp")));
}

TEST_F(MaildirStoreTest, LeavesNothingWhereACallFails) {
  expect_stored("");
  const TestMessage message("x");
  const struct {
    std::vector<int> calls;
    int error;
    const char* reason;
  } cases[] = {{{SYS_renameat2}, EACCES, ": Permission denied"},
               {{SYS_renameat2, SYS_linkat}, EINVAL, ": Invalid argument"},
               {{SYS_fsync}, EIO, ": Input/output error"},
               {{SYS_write}, EIO, ": Input/output error"},
               {{SYS_pread64}, EIO, ": Input/output error"}};
  for (const auto& c : cases) {
    const auto storing = [&] {
      for (const int call : c.calls)
        if (!refuse_call(call, c.error)) return 2;
      return store().store("", message.file()).reason == path() + c.reason ? 0 : 1;
    };
    EXPECT_EQ(0, end_of_child(storing).status) << c.calls.front();
    EXPECT_EQ(1U, names_in(path("new")).size()) << c.calls.front();
    EXPECT_EQ(Names{}, names_in(path("tmp"))) << c.calls.front();
  }
}

TEST_F(MaildirStoreTest, RefusesWhatIsNoFolder) {
  expect_stored("");
  write_file(path(".A"), "a file");
  EXPECT_EQ(path(".A") + ": Not a directory", put(".A").reason);
  EXPECT_EQ("a file", content_of(path(".A")));

  std::filesystem::create_directory(path(".B"));
  write_file(path(".B/tmp"), "a file");
  EXPECT_FALSE(put(".B"));

  std::filesystem::create_directory(folder_.file("elsewhere"));
  std::filesystem::create_directory_symlink(folder_.file("elsewhere"), path(".C"));
  EXPECT_FALSE(put(".C"));
  EXPECT_EQ(Names{}, names_in(folder_.file("elsewhere")));
}

TEST_F(MaildirStoreTest, RefusesWhereTheUserHasNoFolder) {
  const MaildirStore lost(folder_.file("missing/Maildir"), "host");
  EXPECT_EQ(folder_.file("missing/Maildir") + ": No such file or directory",
            lost.store("", TestMessage("x").file()).reason);
  EXPECT_EQ(Names{}, names_in(folder_.path()));
}

TEST_F(MaildirStoreTest, RefusesAReadOnlyFolder) {
  if (geteuid() == 0) GTEST_SKIP() << "root may write everywhere";
  expect_stored(".A");
  ASSERT_EQ(0, chmod(path(".A/tmp").c_str(), 0500));
  EXPECT_EQ(path(".A") + ": Permission denied", put(".A").reason);
  ASSERT_EQ(0, chmod(path(".A/tmp").c_str(), 0700));
  ASSERT_EQ(0, chmod(path(".A/new").c_str(), 0500));
  EXPECT_EQ(path(".A") + ": Permission denied", put(".A").reason);
  EXPECT_EQ(Names{}, names_in(path(".A/tmp")));
  ASSERT_EQ(0, chmod(path(".A/new").c_str(), 0700));
}

// What a user may put in the place of a part of their Maildir. Nothing goes through it.
enum class Obstacle { fifo, file, link, link_to_nothing };

const Obstacle obstacles[] = {Obstacle::fifo, Obstacle::file, Obstacle::link,
                              Obstacle::link_to_nothing};

// Puts `obstacle` at `path`; a link leads to `elsewhere`.
void put_in_the_way(Obstacle obstacle, const std::string& path, const std::string& elsewhere) {
  std::filesystem::remove_all(path);
  switch (obstacle) {
    case Obstacle::file:
      return write_file(path, "in the way");
    case Obstacle::link:
      return std::filesystem::create_symlink(elsewhere, path);
    case Obstacle::link_to_nothing:
      return std::filesystem::create_symlink(elsewhere + "/none", path);
    case Obstacle::fifo:
      break;
  }
  ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
}

TEST_F(MaildirStoreTest, StoresThroughNothingThatTakesThePlaceOfAFolder) {
  const std::string other = folder_.file("other");
  const MaildirStore others(other, "host");
  ASSERT_TRUE(others.store(".A", TestMessage("theirs").file()));
  const struct {
    const char* name;
    const char* folder;
    std::string elsewhere;
  } places[] = {{"", "", other},
                {"", ".A", other},
                {"tmp", "", other + "/tmp"},
                {"new", "", other + "/new"},
                {".A", ".A", other + "/.A"},
                {".A/tmp", ".A", other + "/.A/tmp"},
                {".A/new", ".A", other + "/.A/new"}};
  for (const auto& place : places) {
    for (const Obstacle obstacle : obstacles) {
      std::filesystem::remove_all(path());
      ASSERT_TRUE(put(place.folder));
      put_in_the_way(obstacle, path(place.name), place.elsewhere);
      const auto result = put(place.folder);
      EXPECT_FALSE(result) << place.name << ' ' << static_cast<int>(obstacle);
      EXPECT_EQ(Names{}, messages_in(other));
      EXPECT_EQ(Names{"theirs"}, messages_in(other + "/.A"));
      EXPECT_EQ((Names{".A", "cur", "new", "subscriptions", "tmp"}), names_in(other));
    }
  }
}

TEST_F(MaildirStoreTest, LeavesAloneWhatIsInThePlaceOfAFoldersMark) {
  expect_stored("");
  const std::string victim = folder_.write("victim", "mine");
  for (const Obstacle obstacle : obstacles) {
    std::filesystem::remove_all(path(".A"));
    std::filesystem::create_directory(path(".A"));
    put_in_the_way(obstacle, path(".A/maildirfolder"), victim);
    expect_stored(".A");
    EXPECT_EQ(folder_parts, names_in(path(".A")));
  }
  EXPECT_EQ("mine", content_of(victim));
  put_in_the_way(Obstacle::link, path(".A/maildirfolder"), folder_.file("none"));
  std::filesystem::remove(path(".A/tmp"));
  expect_stored(".A");
  EXPECT_FALSE(std::filesystem::exists(folder_.file("none")));
}

TEST_F(MaildirStoreTest, LeavesSubscriptionsAloneThatAreNoListOfFolders) {
  expect_stored("");
  const std::string victim = folder_.write("victim", "mine");
  std::filesystem::create_hard_link(victim, path("subscriptions"));
  expect_stored(".A");
  EXPECT_EQ("mine", content_of(victim));
  std::filesystem::remove(path("subscriptions"));
  write_file(path("subscriptions"), "X\n");
  std::filesystem::resize_file(path("subscriptions"), std::uintmax_t{8} << 30);  // a sparse file
  expect_stored(".B");
  EXPECT_EQ(std::uintmax_t{8} << 30, std::filesystem::file_size(path("subscriptions")));
}

// Stores `count` messages from a process of its own.
pid_t start_storing(const MaildirStore& store, int process, int count) {
  const pid_t child = fork();
  if (child != 0) return child;
  for (int i = 0; i < count; ++i) {
    const TestMessage message(std::to_string(process) + ' ' + std::to_string(i));
    if (!store.store(i % 2 == 0 ? "" : ".A", message.file())) _exit(1);
  }
  _exit(0);
}

TEST_F(MaildirStoreTest, TakesMessagesFromSeveralProcesses) {
  std::vector<pid_t> children;
  for (int process = 0; process < 4; ++process)
    children.push_back(start_storing(store(), process, 200));
  for (const pid_t child : children) {
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
  }
  std::set<std::string> stored;
  for (const auto* folder : {"", ".A"}) {
    const auto messages = messages_in(path(folder));
    EXPECT_EQ(400U, messages.size());
    stored.insert(messages.begin(), messages.end());
  }
  EXPECT_EQ(800U, stored.size());
  EXPECT_EQ(Names{}, names_in(path("tmp")));
  EXPECT_EQ("A\n", content_of(path("subscriptions")));
}

TEST(UniqueText, DiffersWithEachCall) { EXPECT_NE(unique_text(), unique_text()); }

// Two machines may have all else alike.
TEST(UniqueText, IsRandomBehindTheCount) {
  const auto random = [] {
    const std::string text = unique_text();
    return text.substr(text.find('R'));
  };
  EXPECT_NE(random(), random());
}

TEST(UniqueText, DoesWithoutRandomness) {
  const auto naming = [] {
    const bool is_refused = refuse_call(SYS_getrandom, ENOSYS);
    const std::string text = unique_text();
    return is_refused && text.substr(text.find('R')) == "R0000000000000000" && text != unique_text()
               ? 0
               : 1;
  };
  EXPECT_EQ(0, end_of_child(naming).status);
}

TEST(HostName, IsNotEmpty) { EXPECT_NE("", host_name()); }

}  // namespace
}  // namespace Quarrow::Delivery
