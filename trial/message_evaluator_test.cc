// Both ways of evaluation, and the ways in which a message gets there.
#include "trial/message_evaluator.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <quarrow/evaluation.h>

#include <sstream>
#include <string>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Trial {
namespace {

using Outcome = Delivery::Evaluation::Outcome;

const char* const script =
    "require \"fileinto\";\n"
    "if anyof(header :is \"subject\" \"x\", size :over 1K) { fileinto \"Box\"; }\n";

// What evaluating `text` gives; `file` holds it, or is negative.
std::string result_of(MessageEvaluator& evaluator, const std::string& text, int file) {
  const auto evaluation = evaluator.evaluate({"a", text, file}, 0);
  EXPECT_EQ(Outcome::done, evaluation.outcome) << evaluation.reason;
  std::ostringstream out;
  out << evaluation.result;
  return out.str();
}

TEST(MessageEvaluator, GivesTheSameHoweverAMessageIsHandedOver) {
  const std::string filed = "MatchResult [action=FILEINTO:Box]";
  const std::string kept = "MatchResult []";
  const struct {
    std::string text;
    std::string want;
  } cases[] = {{"Subject: x\n\nText\n", filed},
               {"Subject: x\r\n\r\nText\n", filed},
               {"Subject: x", filed},
               {"Subject: y\n\nSubject: x\n\n", kept},
               {"Subject: y\r\n\r\nSubject: x\n\n", kept},
               {"\nSubject: x\n\n", kept},
               {"From: a@example.org\n\n" + std::string(2000, '-'), filed}};
  const TemporaryFolder folder;
  const std::string path = folder.write("script", script);
  testing::internal::CaptureStderr();
  const auto isolated = isolated_evaluator(path);
  const auto logged = logged_evaluator(path);
  ASSERT_TRUE(isolated && logged);
  for (const auto& c : cases) {
    const Descriptor file(open(folder.write("a", c.text).c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(c.want, result_of(*isolated, c.text, file.get())) << "text: " << c.text;
    EXPECT_EQ(c.want, result_of(*isolated, c.text, -1)) << "text: " << c.text;
    EXPECT_EQ(c.want, result_of(*logged, c.text, -1)) << "text: " << c.text;
  }
  (void)testing::internal::GetCapturedStderr();  // the interpreter's log
}

TEST(MessageEvaluator, NeedsAScript) {
  const TemporaryFolder folder;
  testing::internal::CaptureStderr();
  for (const auto make : {isolated_evaluator, logged_evaluator}) {
    EXPECT_FALSE(make(folder.file("none")));
    EXPECT_FALSE(make(folder.write("empty", "")));
    EXPECT_FALSE(make(folder.write("damaged", "if {")));
    EXPECT_TRUE(make(folder.write("script", script)));
  }
  (void)testing::internal::GetCapturedStderr();
}

TEST(IsolatedEvaluator, SaysWhyAMessageWasNotEvaluated) {
  const TemporaryFolder folder;
  const std::string path = folder.write("script", script);
  const auto evaluator = isolated_evaluator(path);
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
