// Scripts that are there, missing, or on their way.
#include "delivery/script_file.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <functional>
#include <thread>

#include "system/child_process_test_support.h"
#include "system/refused_calls_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Delivery {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Long enough for whatever another thread does in the meantime.
constexpr milliseconds long_wait{60000};

class ScriptFileTest : public testing::Test {
 protected:
  // Puts a script in place a moment later, as a commit does, and reads it in the meantime.
  ScriptFile read_during_commit(const std::string& beside) {
    folder_.write(beside, "new;");
    std::thread commit([this, beside] {
      (void)poll(nullptr, 0, 20);
      std::filesystem::copy_file(folder_.file(beside), folder_.file("copy"));
      std::filesystem::rename(folder_.file("copy"), path());
    });
    ScriptFile script = read(long_wait);
    commit.join();
    return script;
  }

  ScriptFile read(milliseconds wait, std::time_t later = 0) const {
    return read_script(path(), wait, std::time(nullptr) + later);
  }

  std::string path() const { return folder_.file("script"); }

  const TemporaryFolder folder_;
};

TEST_F(ScriptFileTest, ReadsTheBytesThatCount) {
  folder_.write("script", std::string(40000, 'x'));
  const ScriptFile script = read(long_wait);
  EXPECT_TRUE(script.found);
  EXPECT_EQ(std::string(32768, 'x'), script.text);
}

TEST_F(ScriptFileTest, AnEmptyScriptIsFound) {
  folder_.write("script", "");
  const ScriptFile script = read(long_wait);
  EXPECT_TRUE(script.found);
  EXPECT_EQ("", script.text);
}

TEST_F(ScriptFileTest, AUserWithoutRulesIsNotWaitedFor) {
  const auto start = steady_clock::now();
  const ScriptFile script = read(long_wait);
  EXPECT_FALSE(script.found);
  EXPECT_EQ("No such file or directory", script.reason);
  EXPECT_LT(steady_clock::now() - start, long_wait);
}

TEST_F(ScriptFileTest, AScriptOnItsWayIsWaitedFor) {
  const ScriptFile script = read_during_commit("script.tmp");
  EXPECT_TRUE(script.found);
  EXPECT_EQ("new;", script.text);
}

TEST_F(ScriptFileTest, TheScriptOfAUserWithRulesIsWaitedFor) {
  EXPECT_TRUE(read_during_commit("script.xml").found);
}

TEST_F(ScriptFileTest, TheWaitEnds) {
  folder_.write("script.tmp", "new;");
  EXPECT_FALSE(read(milliseconds(20)).found);
}

// Seen from another time, whatever lies beside the script has been there for long.
TEST_F(ScriptFileTest, AScriptThatStaysAwayIsNotWaitedFor) {
  folder_.write("script.tmp", "new;");
  folder_.write("script.xml", "rules");
  const auto start = steady_clock::now();
  for (const std::time_t later : {60, -60}) EXPECT_FALSE(read(long_wait, later).found) << later;
  EXPECT_LT(steady_clock::now() - start, long_wait);
}

TEST_F(ScriptFileTest, WhatIsNoFileIsNotWaitedFor) {
  ASSERT_EQ(0, mkfifo(folder_.file("script.tmp").c_str(), 0600));
  ASSERT_EQ(0, mkdir(folder_.file("script.xml").c_str(), 0700));
  const auto start = steady_clock::now();
  EXPECT_FALSE(read(long_wait).found);
  EXPECT_LT(steady_clock::now() - start, long_wait);
}

TEST_F(ScriptFileTest, AMissingScriptIsNoFailure) {
  EXPECT_TRUE(read(long_wait).is_missing);
  folder_.write("script", "");
  EXPECT_FALSE(read(long_wait).is_missing);
}

TEST_F(ScriptFileTest, AScriptThatIsReplacedMeanwhileIsWaitedFor) {
  folder_.write("script", "old;");
  for (const int call : {SCMP_SYS(openat), SCMP_SYS(pread64)}) {
    const ProcessEnd end = end_of_child([this, call] {
      constexpr milliseconds wait{20};
      if (!refuse_call(call, ESTALE)) return 2;
      const auto start = steady_clock::now();
      const ScriptFile script = read_script(path(), wait, std::time(nullptr));
      const bool waited = steady_clock::now() - start >= wait;
      return waited && !script.found && script.reason == "Stale file handle" ? 0 : 1;
    });
    EXPECT_EQ(0, end.status) << call;
  }
}

TEST_F(ScriptFileTest, WhatIsNoFileIsNotRead) {
  const std::string other = folder_.write("other", "theirs;");
  const struct {
    std::function<int(const char*)> put;
    std::string reason;
  } cases[] = {
      {[](const char* name) { return mkfifo(name, 0600); }, "Is not a regular file"},
      {[](const char* name) { return mkdir(name, 0700); }, "Is a directory"},
      {[&other](const char* name) { return symlink(other.c_str(), name); }, "Is a symbolic link"},
      {[](const char* name) { return symlink("/dev/zero", name); }, "Is a symbolic link"},
      {[](const char* name) { return symlink("none", name); }, "Is a symbolic link"}};
  for (const auto& c : cases) {
    ASSERT_EQ(0, c.put(path().c_str()));
    const ScriptFile script = read(long_wait);
    EXPECT_FALSE(script.found) << c.reason;
    EXPECT_FALSE(script.is_missing) << c.reason;
    EXPECT_EQ("", script.text) << c.reason;
    EXPECT_EQ(c.reason, script.reason);
    std::filesystem::remove(path());
  }
}

}  // namespace
}  // namespace Quarrow::Delivery
