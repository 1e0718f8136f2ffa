// The result that comes back from a child process, however it ends.
#include "administration/guarded_process.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "administration/administration_test_support.h"
#include "system/child_process_test_support.h"
#include "system/descriptor.h"

namespace Quarrow::Administration {
namespace {

Refusal refusal_of(const std::function<GuardedOutcome()>& work) {
  return run_guarded("document", work).refusal;
}

TEST(GuardedProcess, GivesTheAnswerByteByByte) {
  const std::string answer = std::string(300000, 'x') + std::string("\0\n\xFF", 3);
  const GuardedOutcome outcome = run_guarded("document", [&answer]() -> GuardedOutcome {
    return {{}, answer};
  });
  EXPECT_FALSE(outcome.refusal);
  EXPECT_EQ(answer, outcome.answer);
}

TEST(GuardedProcess, GivesEveryKindOfRefusal) {
  for (int kind = 1; kind <= static_cast<int>(Kind::unavailable); ++kind) {
    const Refusal refused{static_cast<Kind>(kind), "object", "reason"};
    expect_refusal(refused.kind, "object", "reason", refusal_of([&refused]() -> GuardedOutcome {
                     return {refused, ""};
                   }));
  }
}

TEST(GuardedProcess, LeavesThisProcessAsItIs) {
  int changed = 0;
  const pid_t self = getpid();
  const GuardedOutcome outcome = run_guarded("document", [&]() -> GuardedOutcome {
    changed = 1;
    return {{}, std::to_string(getpid())};
  });
  EXPECT_EQ(0, changed);
  EXPECT_NE(std::to_string(self), outcome.answer);
}

TEST(GuardedProcess, EndsWithTheOneThatWaitsForIt) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(0, pipe(ends));
  const Descriptor reading_end(ends[0]);
  const pid_t waiting = start_child([&] {
    (void)refusal_of([&]() -> GuardedOutcome {
      EXPECT_EQ(1, write(ends[1], "b", 1));
      for (;;) (void)pause();
    });
    return 0;
  });
  (void)close(ends[1]);
  char begun = 0;
  EXPECT_EQ(1, read(reading_end.get(), &begun, 1));
  (void)kill(waiting, SIGKILL);
  EXPECT_EQ(SIGKILL, wait_for(waiting).signal);
  EXPECT_EQ(0, read(reading_end.get(), &begun, 1)) << "the end of all that could write";
}

TEST(GuardedProcess, TellsAFailedAssertionAsADamagedDocument) {
  expect_refusal(Kind::damaged_document, "document",
                 "damaged filter document: a filter in it is incomplete or holds a wrong word; "
                 "restore it from a copy, or remove it to start anew",
                 refusal_of([]() -> GuardedOutcome { std::abort(); }));
}

TEST(GuardedProcess, TellsAFailedAssertionThatTheProgramWouldHandle) {
  const auto before = std::signal(SIGABRT, SIG_IGN);
  const Refusal refusal = refusal_of([]() -> GuardedOutcome {
    (void)raise(SIGABRT);
    return {{}, "answer"};
  });
  (void)std::signal(SIGABRT, before);
  EXPECT_EQ(Kind::damaged_document, refusal.kind);
}

TEST(GuardedProcess, TellsAnotherSignalAsACrash) {
  expect_refusal(Kind::crashed, "document", "loading it was ended: Killed",
                 refusal_of([]() -> GuardedOutcome {
                   (void)raise(SIGKILL);
                   return {};
                 }));
}

TEST(GuardedProcess, TellsAnEndWithoutAnAnswer) {
  for (const int status : {0, 7})
    expect_refusal(
        Kind::crashed, "document",
        "loading it ended without an answer, with the exit status " + std::to_string(status),
        refusal_of([status]() -> GuardedOutcome { _exit(status); }));
}

TEST(GuardedProcess, TellsAnException) {
  expect_refusal(Kind::unavailable, "unexpected", "no library",
                 refusal_of([]() -> GuardedOutcome { throw std::runtime_error("no library"); }));
}

TEST(GuardedProcess, SaysThatThereIsNoPipe) {
  const Refusal refusal = in_child([] {
    const rlimit none = {0, 0};
    (void)setrlimit(RLIMIT_NOFILE, &none);
    return refusal_of([]() -> GuardedOutcome { return {}; });
  });
  expect_refusal(Kind::try_again, "pipe", "Too many open files", refusal);
}

TEST(GuardedProcess, SaysThatThereIsNoProcess) {
  const Refusal refusal = as_nobody([] {
    const rlimit none = {0, 0};
    (void)setrlimit(RLIMIT_NPROC, &none);
    return refusal_of([]() -> GuardedOutcome { return {}; });
  });
  expect_refusal(Kind::try_again, "fork", "Resource temporarily unavailable", refusal);
}

}  // namespace
}  // namespace Quarrow::Administration
