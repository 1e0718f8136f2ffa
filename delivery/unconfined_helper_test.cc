// A helper that can't give something up evaluates nothing.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/landlock.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <deque>
#include <string>
#include <vector>

#include "delivery/evaluator_test_support.h"
#include "delivery/helper_process.h"
#include "delivery/sandbox.h"
#include "system/child_process_test_support.h"
#include "system/descriptor.h"
#include "system/refused_calls_test_support.h"

namespace Quarrow::Delivery {
namespace {

constexpr int evaluated = 1;
constexpr int not_refused = 2;
constexpr int crashed = 3;

struct Refused {
  const char* name;
  int call;
  std::vector<scmp_arg_cmp> where;
};

scmp_arg_cmp argument(unsigned index, std::uint64_t value) {
  return {index, SCMP_CMP_EQ, value, 0};
}

// Of /proc/self/maps, and of no file that is opened with O_CLOEXEC.
const scmp_arg_cmp opened_as_a_stream = argument(2, O_RDONLY);

// A new one; the present one can be asked for.
std::vector<scmp_arg_cmp> limit(unsigned resource) {
  return {argument(1, resource), {2, SCMP_CMP_NE, 0, 0}};
}

std::vector<Refused> steps() {
  std::vector<Refused> steps = {
      {"the file for scripts", SCMP_SYS(memfd_create), {}},
      {"no new privileges", SCMP_SYS(prctl), {argument(0, PR_SET_NO_NEW_PRIVS)}},
      {"filter of system calls", SCMP_SYS(prctl), {argument(0, PR_SET_SECCOMP)}},
      {"ending with the evaluator", SCMP_SYS(prctl), {argument(0, PR_SET_PDEATHSIG)}},
      {"address space", SCMP_SYS(prlimit64), limit(RLIMIT_AS)},
      {"core dumps", SCMP_SYS(prlimit64), limit(RLIMIT_CORE)},
      {"file size", SCMP_SYS(prlimit64), limit(RLIMIT_FSIZE)},
      {"descriptors", SCMP_SYS(prlimit64), limit(RLIMIT_NOFILE)},
      {"a list of shared memory", SCMP_SYS(openat), {opened_as_a_stream}},
      {"/dev/null", SCMP_SYS(openat), {argument(2, O_RDWR | O_CLOEXEC)}},
      {"nothing on standard output", SCMP_SYS(dup2), {argument(1, STDOUT_FILENO)}},
      {"room for the socket", SCMP_SYS(fcntl), {argument(1, F_DUPFD)}},
      {"the socket's place", SCMP_SYS(dup2), {argument(1, 3)}},
      {"closing the rest", SCMP_SYS(close_range), {}}};
  if (has_landlock()) {
    steps.push_back({"rules for files", SCMP_SYS(landlock_create_ruleset), {argument(2, 0)}});
    steps.push_back({"no file", SCMP_SYS(landlock_restrict_self), {}});
  }
  return steps;
}

class UnconfinedHelperTest : public EvaluationTest {
 protected:
  UnconfinedHelperTest() {
    prepare_for_helpers();
    set_script("discard;");
  }

  // What comes of a message in a process where that is refused.
  int outcome_without(const Refused& step, bool made_ahead) {
    const ProcessEnd end = end_of_child([&] {
      if (!refuse_call(step.call, EPERM, step.where)) return not_refused;
      EvaluatorLimits limits;
      limits.made_ahead = made_ahead;
      Evaluator evaluator(limits);
      const Evaluation got = evaluate(evaluator, "Subject: x\n\n");
      // a helper that ends before it is asked leaves no other reason
      const bool is_told = got.reason == "the evaluation could not be confined" ||
                           got.reason == "no evaluation could be started";
      return got.outcome == Evaluation::Outcome::failed && is_told ? 0 : evaluated;
    });
    return end.signal != 0 ? crashed : end.status;
  }

  void expect_refusal(const Refused& step) {
    for (const bool made_ahead : {false, true})
      EXPECT_EQ(0, outcome_without(step, made_ahead)) << step.name << ", ahead: " << made_ahead;
  }
};

TEST_F(UnconfinedHelperTest, EvaluatesNothingWhereAStepFails) {
  for (const Refused& step : steps()) expect_refusal(step);
}

TEST_F(UnconfinedHelperTest, EvaluatesNothingWhereItKeepsMemoryThatOthersWrite) {
  constexpr std::size_t size = 4096;
  void* const shared =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(MAP_FAILED, shared);
  const auto place = argument(0, reinterpret_cast<std::uintptr_t>(shared));
  expect_refusal({"shared memory", SCMP_SYS(munmap), {place}});
  EXPECT_EQ(0, munmap(shared, size));
}

// The maker's own socket comes from a higher number, where the lower ones are in use.
TEST_F(UnconfinedHelperTest, EvaluatesNothingWhereAMadeHelperHasNoSocketOfItsOwn) {
  constexpr int made_socket = 5;  // the second one that the maker opens, behind its own
  std::deque<Descriptor> in_use;
  while (in_use.empty() || in_use.back().get() <= made_socket)
    in_use.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(
      0, outcome_without({"", SCMP_SYS(dup2), {argument(0, made_socket), argument(1, 3)}}, true));
}

TEST_F(UnconfinedHelperTest, OtherCallsThatAreRefusedChangeNothing) {
  for (const bool made_ahead : {false, true})
    EXPECT_EQ(evaluated, outcome_without({"", SCMP_SYS(mount), {}}, made_ahead));
}

}  // namespace
}  // namespace Quarrow::Delivery
