// Checks that answer, fail, hang and die.
#include "signing_in/check_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include "system/child_process_test_support.h"

namespace Quarrow::SigningIn {
namespace {

using Result = PasswordVerdict::Result;
using std::chrono::milliseconds;
using std::chrono::minutes;

const std::string asked_user = "alice@example.org";

PasswordVerdict verdict_of(const PasswordCheck& check, milliseconds deadline = minutes(5)) {
  std::string password = "secret";
  return CheckProcess(check, asked_user, password, deadline).verdict();
}

// Never returns, and lets no signal but the deadline's end it.
PasswordVerdict hang(const std::string&, const std::string&) {
  for (;;) (void)pause();
}

TEST(CheckProcess, TellsWhatTheCheckFound) {
  const PasswordVerdict verdicts[] = {
      {Result::right, ""}, {Result::wrong, ""}, {Result::unavailable, "no such host"}};
  for (const PasswordVerdict& wanted : verdicts) {
    const PasswordVerdict got =
        verdict_of([&wanted](const std::string&, const std::string&) { return wanted; });
    EXPECT_EQ(wanted.result, got.result);
    EXPECT_EQ(wanted.reason, got.reason);
  }
}

TEST(CheckProcess, GivesTheCheckTheUserAndThePassword) {
  const auto echo = [](const std::string& name, const std::string& password) {
    return PasswordVerdict{Result::unavailable, name + ' ' + password};
  };
  EXPECT_EQ("alice@example.org secret", verdict_of(echo).reason);
}

TEST(CheckProcess, ThePasswordIsWipedHere) {
  std::string password = "a password that is too long for the text object itself";
  const char* const place = password.data();
  const std::size_t size = password.size();
  const CheckProcess process(hang, asked_user, password, minutes(5));
  EXPECT_TRUE(password.empty());
  EXPECT_EQ(std::string(size, '\0'), std::string(place, size));
}

TEST(CheckProcess, ItsDescriptorTellsWhenItIsDone) {
  int gate[2];
  ASSERT_EQ(0, pipe2(gate, O_CLOEXEC));
  ASSERT_EQ(0, dup2(gate[0], 0));  // the only descriptors that the process keeps
  const auto wait_at_gate = [](const std::string&, const std::string&) {
    char byte = 0;
    return PasswordVerdict{read(0, &byte, 1) == 1 ? Result::right : Result::wrong, ""};
  };
  std::string password = "secret";
  CheckProcess process(wait_at_gate, asked_user, password, minutes(5));
  pollfd polled = {process.descriptor(), POLLIN, 0};
  EXPECT_EQ(0, poll(&polled, 1, 0));
  ASSERT_EQ(1, write(gate[1], "x", 1));
  EXPECT_EQ(1, poll(&polled, 1, -1));
  EXPECT_EQ(Result::right, process.verdict().result);
  (void)close(gate[0]);
  (void)close(gate[1]);
}

TEST(CheckProcess, EndsACheckThatHangs) {
  const PasswordVerdict verdict = verdict_of(hang, milliseconds(50));
  EXPECT_EQ(Result::unavailable, verdict.result);
  EXPECT_EQ("checking the password took too long", verdict.reason);
}

TEST(CheckProcess, EndsACheckThatHangsWhereAlarmsAreBlocked) {
  const ProcessEnd end = end_of_child([] {
    (void)std::signal(SIGALRM, SIG_IGN);
    sigset_t all;
    sigfillset(&all);
    (void)sigprocmask(SIG_SETMASK, &all, nullptr);
    return verdict_of(hang, milliseconds(50)).result == Result::unavailable ? 0 : 1;
  });
  EXPECT_EQ(0, end.status);
}

TEST(CheckProcess, ADeadlineThatIsOverIsNoneAtAll) {
  EXPECT_EQ(Result::unavailable, verdict_of(hang, milliseconds(0)).result);
  EXPECT_EQ(Result::unavailable, verdict_of(hang, milliseconds(-1)).result);
}

TEST(CheckProcess, ACheckThatDiesIsUnavailable) {
  const auto die = [](const std::string&, const std::string&) -> PasswordVerdict {
    (void)kill(getpid(), SIGKILL);
    return {Result::right, ""};
  };
  EXPECT_EQ(Result::unavailable, verdict_of(die).result);
  const auto leave = [](const std::string&, const std::string&) -> PasswordVerdict { _exit(0); };
  EXPECT_EQ("checking the password ended without an answer", verdict_of(leave).reason);
  const auto fail = [](const std::string&, const std::string&) -> PasswordVerdict {
    throw std::runtime_error("no memory");
  };
  EXPECT_EQ("no memory", verdict_of(fail).reason);
}

TEST(CheckProcess, HasNoDescriptorsOfThisProcess) {
  const int secret = open("/dev/null", O_RDONLY);
  ASSERT_LE(0, secret);
  const auto count = [](const std::string&, const std::string&) {
    std::string found;
    for (int fd = 0; fd < 1024; ++fd)
      if (fcntl(fd, F_GETFD) >= 0) found += ' ' + std::to_string(fd);
    return PasswordVerdict{Result::unavailable, found};
  };
  EXPECT_EQ(" 0 1 2 3", verdict_of(count).reason);
  (void)close(secret);
}

TEST(CheckProcess, LeavesNoCoreFile) {
  const auto look = [](const std::string&, const std::string&) {
    return PasswordVerdict{prctl(PR_GET_DUMPABLE) == 0 ? Result::right : Result::wrong, ""};
  };
  EXPECT_EQ(Result::right, verdict_of(look).result);
}

TEST(CheckProcess, NobodyIsLeftBehind) {
  const ProcessEnd end = end_of_child([] {
    std::string password = "secret";
    { const CheckProcess given_up(hang, asked_user, password, minutes(5)); }
    (void)verdict_of(hang, milliseconds(1));
    return waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD ? 0 : 1;
  });
  EXPECT_EQ(0, end.status);
}

// The pipe's writing end is open as long as the check's process is there.
TEST(CheckProcess, EndsWithItsParent) {
  int alive[2];
  ASSERT_EQ(0, pipe2(alive, O_CLOEXEC));
  const pid_t parent = start_child([&alive] {
    std::string password = "secret";
    (void)dup2(alive[1], 1);
    const auto announce = [](const std::string& name, const std::string& given) {
      (void)!write(1, "x", 1);
      return hang(name, given);
    };
    const CheckProcess process(announce, asked_user, password, std::chrono::hours(24));
    for (;;) (void)pause();
    return 0;
  });
  (void)close(alive[1]);
  char byte = 0;
  ASSERT_EQ(1, read(alive[0], &byte, 1));
  (void)kill(parent, SIGKILL);
  (void)wait_for(parent);
  EXPECT_EQ(0, read(alive[0], &byte, 1));
  (void)close(alive[0]);
}

}  // namespace
}  // namespace Quarrow::SigningIn
