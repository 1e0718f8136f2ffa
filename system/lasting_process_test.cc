// A process that its starter knows nothing of.
#include "system/lasting_process.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>

#include "system/child_process_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow {
namespace {

std::string reported(const std::function<std::string()>& text) {
  return start_lasting_process([&](const Report& report) { report(text()); }).value_or("no report");
}

// Where each descriptor of this process leads.
std::string descriptors() {
  std::string all;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;  // the one of this listing
    const auto target = std::filesystem::read_symlink(entry, gone);
    if (!gone && target.string().find("/proc/") != 0)
      all += entry.path().filename().string() + ' ' + target.string() + '\n';
  }
  return all;
}

TEST(LastingProcess, Reports) {
  const std::string text("a\0b", 3);
  EXPECT_EQ(text, reported([&] { return text; }));
  EXPECT_EQ("", reported([] { return ""; }));
}

TEST(LastingProcess, MayEndWithoutAReport) {
  errno = EIO;
  EXPECT_FALSE(start_lasting_process([](const Report& /*report*/) {}));
  EXPECT_EQ(0, errno);
  EXPECT_FALSE(start_lasting_process([](const Report& /*report*/) { throw 1; }));
  EXPECT_FALSE(start_lasting_process([](const Report& /*report*/) { (void)raise(SIGKILL); }));
}

TEST(LastingProcess, LeavesNoChild) {
  EXPECT_EQ("x", reported([] { return "x"; }));
  EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
  EXPECT_EQ(ECHILD, errno);
}

TEST(LastingProcess, HasASessionOfItsOwn) {
  const std::string session = std::to_string(getsid(0));
  EXPECT_NE(session, reported([] { return std::to_string(getsid(0)); }));
}

TEST(LastingProcess, HasNoDescriptorOfItsStarter) {
  const TemporaryFolder folder;
  std::FILE* const file = std::fopen(folder.write("a", "x").c_str(), "r");
  const std::string found = reported(descriptors);
  for (const char* const standard : {"0 /dev/null\n", "1 /dev/null\n", "2 /dev/null\n"})
    EXPECT_NE(std::string::npos, found.find(standard)) << found;
  EXPECT_EQ(std::string::npos, found.find(folder.path())) << found;
  EXPECT_NE(std::string::npos, found.find("3 pipe:")) << found;
  EXPECT_EQ(std::string::npos, found.find("4 pipe:")) << found;
  (void)std::fclose(file);
}

TEST(LastingProcess, GivesWayToOthers) {
  const int usual = getpriority(PRIO_PROCESS, 0);
  const int lower =
      std::stoi(reported([] { return std::to_string(getpriority(PRIO_PROCESS, 0)); }));
  EXPECT_TRUE(lower > usual || lower == 19) << lower;
}

// The starter is ended by an alarm, or killed; it ignores signals, and waits for others.
TEST(LastingProcess, HasNoAlarmAndAnswersSignals) {
  const auto state = [] {
    sigset_t blocked;
    (void)sigprocmask(SIG_BLOCK, nullptr, &blocked);
    int death = -1;
    (void)prctl(PR_GET_PDEATHSIG, &death);
    std::string text = std::to_string(alarm(0)) + ' ' + std::to_string(death) + ' ' +
                       std::to_string(sigismember(&blocked, SIGUSR2));
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGCHLD})
      text += std::signal(signal, SIG_IGN) == SIG_DFL ? " default" : " other";
    return text;
  };
  EXPECT_EQ(0, end_of_child([&] {
                 for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGUSR1})
                   (void)std::signal(signal, SIG_IGN);
                 sigset_t blocked;
                 (void)sigemptyset(&blocked);
                 (void)sigaddset(&blocked, SIGUSR2);
                 (void)sigprocmask(SIG_BLOCK, &blocked, nullptr);
                 (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
                 (void)alarm(600);
                 return reported(state) == "0 0 0 default default default default default" ? 0 : 1;
               }).status);
}

// It waits in the fifo until its starter is gone.
TEST(LastingProcess, GoesOnWithoutItsStarter) {
  const TemporaryFolder folder;
  const std::string fifo = folder.file("fifo");
  ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
  const ProcessEnd end = end_of_child([&] {
    (void)start_lasting_process([&](const Report& report) {
      report("begun");
      write_file(folder.file("done"), content_of(fifo));
      write_file(fifo, "end");
    });
    return raise(SIGKILL);
  });
  EXPECT_EQ(SIGKILL, end.signal);
  EXPECT_EQ("(no file)", content_of(folder.file("done")));
  write_file(fifo, "went on");
  EXPECT_EQ("end", content_of(fifo));
  EXPECT_EQ("went on", content_of(folder.file("done")));
}

}  // namespace
}  // namespace Quarrow
