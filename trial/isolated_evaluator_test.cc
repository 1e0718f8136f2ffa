// Evaluation in a helper process, and the ways in which a message gets there.
#include <fcntl.h>
#include <gtest/gtest.h>

#include "trial/message_evaluator_test_support.h"

namespace Quarrow::Trial {
namespace {

using Outcome = Delivery::Evaluation::Outcome;

TEST(IsolatedEvaluator, GivesTheSameHoweverAMessageIsHandedOver) {
  const TemporaryFolder folder;
  const auto evaluator = isolated_evaluator(folder.write("script", filing_script));
  ASSERT_TRUE(evaluator);
  for (const auto& c : evaluation_cases) {
    const Descriptor file(open(folder.write("a", c.text).c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(c.want, result_of(*evaluator, c.text, file.get())) << "text: " << c.text;
    EXPECT_EQ(c.want, result_of(*evaluator, c.text, -1)) << "text: " << c.text;
  }
}

TEST(IsolatedEvaluator, NeedsAScript) { expect_to_need_a_script(isolated_evaluator); }

TEST(IsolatedEvaluator, SaysWhyAMessageWasNotEvaluated) {
  const TemporaryFolder folder;
  const auto evaluator = isolated_evaluator(folder.write("script", filing_script));
  ASSERT_TRUE(evaluator);
  const Descriptor unreadable(open(folder.path().c_str(), O_RDONLY | O_CLOEXEC));
  const auto failed = evaluator->evaluate({"a", "Subject: x\n\n", unreadable.get()}, 0);
  EXPECT_EQ(Outcome::failed, failed.outcome);
  EXPECT_FALSE(failed.reason.empty());
  folder.write("script", "if {");
  const auto damaged = evaluator->evaluate({"a", "Subject: x\n\n", -1}, 0);
  EXPECT_EQ(Outcome::bad_script, damaged.outcome);
  EXPECT_FALSE(damaged.reason.empty());
}

}  // namespace
}  // namespace Quarrow::Trial
