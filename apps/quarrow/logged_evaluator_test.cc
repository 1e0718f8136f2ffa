// Evaluation in this process gives the same, and writes the interpreter's log.
#include "apps/quarrow/logged_evaluator.h"

#include <gtest/gtest.h>

#include "trial/message_evaluator_test_support.h"

namespace Quarrow::Command {
namespace {

// Catches the interpreter's log.
class LoggedEvaluatorTest : public testing::Test {
 protected:
  LoggedEvaluatorTest() { testing::internal::CaptureStderr(); }
  ~LoggedEvaluatorTest() override {
    if (!log_is_taken_) (void)testing::internal::GetCapturedStderr();
  }

  std::string log() {
    log_is_taken_ = true;
    return testing::internal::GetCapturedStderr();
  }

 private:
  bool log_is_taken_ = false;
};

TEST_F(LoggedEvaluatorTest, GivesTheSameAsTheIsolatedOne) {
  const TemporaryFolder folder;
  const auto evaluator = logged_evaluator(folder.write("script", Trial::filing_script));
  ASSERT_TRUE(evaluator);
  for (const auto& c : Trial::evaluation_cases)
    EXPECT_EQ(c.want, Trial::result_of(*evaluator, c.text, -1)) << "text: " << c.text;
}

TEST_F(LoggedEvaluatorTest, NeedsAScript) { Trial::expect_to_need_a_script(logged_evaluator); }

TEST_F(LoggedEvaluatorTest, FollowsNoLink) {
  const TemporaryFolder folder;
  std::filesystem::create_symlink(folder.write("theirs", Trial::filing_script),
                                  folder.file("script"));
  EXPECT_FALSE(logged_evaluator(folder.file("script")));
}

TEST_F(LoggedEvaluatorTest, WritesTheLogAsComplaints) {
  const TemporaryFolder folder;
  const std::string path = folder.write("script", "if {");
  EXPECT_FALSE(logged_evaluator(path));
  EXPECT_NE(std::string::npos,
            log().find("quarrow: SieveMatchImpl: error: rule file '" + path + "' is invalid\n"));
}

}  // namespace
}  // namespace Quarrow::Command
