// Scripts that are there, missing, or on their way.
#include "delivery/script_file.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>

#include <thread>

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
    ScriptFile script = read_script(path(), long_wait);
    commit.join();
    return script;
  }

  std::string path() const { return folder_.file("script"); }

  const TemporaryFolder folder_;
};

TEST_F(ScriptFileTest, ReadsTheBytesThatCount) {
  folder_.write("script", std::string(40000, 'x'));
  const ScriptFile script = read_script(path(), long_wait);
  EXPECT_TRUE(script.found);
  EXPECT_EQ(std::string(32768, 'x'), script.text);
}

TEST_F(ScriptFileTest, AnEmptyScriptIsFound) {
  folder_.write("script", "");
  const ScriptFile script = read_script(path(), long_wait);
  EXPECT_TRUE(script.found);
  EXPECT_EQ("", script.text);
}

TEST_F(ScriptFileTest, AUserWithoutRulesIsNotWaitedFor) {
  const auto start = steady_clock::now();
  const ScriptFile script = read_script(path(), long_wait);
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
  EXPECT_FALSE(read_script(path(), milliseconds(20)).found);
}

TEST_F(ScriptFileTest, WhatIsNoFileIsNotRead) {
  EXPECT_FALSE(read_script(folder_.path(), long_wait).found);
  ASSERT_EQ(0, mkfifo(path().c_str(), 0600));
  EXPECT_FALSE(read_script(path(), long_wait).found);
}

}  // namespace
}  // namespace Quarrow::Delivery
