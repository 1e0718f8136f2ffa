// A helper that serves a mail server for days must not grow. A program of its own, since it takes
// some seconds.

#include <gtest/gtest.h>

#include <fstream>

#include "bench/mixed_rules.h"
#include "delivery/evaluator_test_support.h"

namespace Quarrow::Delivery {
namespace {

using EvaluatorGrowth = EvaluationTest;

long resident_bytes(pid_t process) {
  long pages = 0;
  long resident = 0;
  std::ifstream("/proc/" + std::to_string(process) + "/statm") >> pages >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

TEST_F(EvaluatorGrowth, AHundredThousandMessagesTakeLessThanFiveMegabytes) {
  EvaluatorLimits limits;
  limits.messages = 1000000;
  limits.made_ahead = false;
  Evaluator evaluator(limits);
  ASSERT_TRUE(mixed_rules(20, 1)->SaveToSieve(script_path(), true));
  const std::string messages[] = {
      "From: a@example.org\nTo: b@example.org, \"C\" <c@example.org>\nSubject: nothing\n\n",
      "From: a@example.org\nSubject: =?koi8-r?q?=D0=D2?= (final)\nDate: x\n\n",
      "From: \"unterminated <a@b>\nX-From: a@b@c\nSubject: [other] word\n\n",
      "From: a@example.org\nTo: " + std::string(9000, 'x') + "@b\n\n"};
  std::vector<int> files;
  for (const std::string& message : messages) {
    const std::string path = folder_.write(std::to_string(files.size()), message);
    files.push_back(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  }
  // The last message takes an unusual amount of memory, which the helper must give back.
  const auto run = [&](int times) {
    for (int i = 0; i < times; ++i) {
      const std::size_t which = i % 1000 == 0 ? 3 : static_cast<std::size_t>(i % 3);
      const auto outcome =
          evaluator.evaluate(files[which], messages[which].size(), 0, script_path()).outcome;
      ASSERT_EQ(Evaluation::Outcome::done, outcome);
    }
  };
  const pid_t helper = evaluator.helper();
  run(2000);
  const long before = resident_bytes(helper);
  run(100000);
  EXPECT_EQ(helper, evaluator.helper());
  EXPECT_LT(resident_bytes(helper) - before, 5000000);
  RecordProperty("grown", std::to_string(resident_bytes(helper) - before));
  for (const int file : files) (void)close(file);
}

}  // namespace
}  // namespace Quarrow::Delivery
