// A script and messages that each way of evaluation is tested with.
#ifndef QUARROW_TRIAL_MESSAGE_EVALUATOR_TEST_SUPPORT_H_
#define QUARROW_TRIAL_MESSAGE_EVALUATOR_TEST_SUPPORT_H_

#include <gtest/gtest.h>
#include <quarrow/evaluation.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/temporary_folder_test_support.h"
#include "trial/message_evaluator.h"

namespace Quarrow::Trial {

inline const char* const filing_script =
    "require \"fileinto\";\n"
    "if anyof(header :is \"subject\" \"x\", size :over 1K) { fileinto \"Box\"; }\n";

inline const char* const filed = "MatchResult [action=FILEINTO:Box]";
inline const char* const kept = "MatchResult []";

struct EvaluationCase {
  std::string text;  // of the message
  std::string want;  // what filing_script makes of it
};

inline const std::vector<EvaluationCase> evaluation_cases = {
    {"Subject: x\n\nText\n", filed},
    {"Subject: x\r\n\r\nText\n", filed},
    {"Subject: x", filed},
    {"Subject: y\n\nSubject: x\n\n", kept},
    {"Subject: y\r\n\r\nSubject: x\n\n", kept},
    {"\nSubject: x\n\n", kept},
    {"From: a@example.org\n\n" + std::string(2000, '-'), filed}};

// The text form of what evaluating `text` gives; `file` holds the text, or is negative.
inline std::string result_of(MessageEvaluator& evaluator, const std::string& text, int file) {
  const auto evaluation = evaluator.evaluate({"a", text, file}, 0);
  EXPECT_EQ(Delivery::Evaluation::Outcome::done, evaluation.outcome) << evaluation.reason;
  std::ostringstream out;
  out << evaluation.result;
  return out.str();
}

// Expects of `make`, which makes an evaluator of the script at a path, that it needs a valid one.
inline void expect_to_need_a_script(std::unique_ptr<MessageEvaluator> (*make)(const std::string&)) {
  const TemporaryFolder folder;
  EXPECT_FALSE(make(folder.file("none")));
  EXPECT_FALSE(make(folder.write("empty", "")));
  EXPECT_FALSE(make(folder.write("damaged", "if {")));
  EXPECT_TRUE(make(folder.write("script", filing_script)));
}

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_MESSAGE_EVALUATOR_TEST_SUPPORT_H_
