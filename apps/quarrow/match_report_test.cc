// The output of quarrow match, and the exit status that a run comes to.
#include "apps/quarrow/match_report.h"

#include <gtest/gtest.h>
#include <sysexits.h>

#include <iostream>

#include "trial/result_test_support.h"

namespace Quarrow::Command {
namespace {

using Form = MatchReport::Form;
using FailureKind = Trial::SourceFailure::Kind;

Delivery::Evaluation evaluation(int error) {
  Delivery::Evaluation made;
  made.outcome = Delivery::Evaluation::Outcome::done;
  made.result.error = error;
  return made;
}

// Catches what is printed.
class MatchReportTest : public testing::Test {
 protected:
  MatchReportTest() {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
  }
  // A failed expectation may have written to standard output, too.
  ~MatchReportTest() override { std::cout << printed().results; }

  struct Printed {
    std::string results;
    std::string complaints;
  };

  // All that was printed up to now, taken once; then there is nothing more.
  Printed printed() {
    if (is_taken_) return {};
    is_taken_ = true;
    return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
  }

 private:
  bool is_taken_ = false;
};

TEST_F(MatchReportTest, PrintsLinesAndATable) {
  MatchReport report(Form::text, 1, EX_OK);
  Trial::RunResult result;
  result.tally.add(evaluation(SieveMatchResult::NONE).result);
  report.on_result("a", evaluation(SieveMatchResult::NONE));
  EXPECT_EQ(EX_OK, report.finish(result));
  const Printed got = printed();
  EXPECT_EQ("a\tkept\n\n1  kept\n1  message\n", got.results);
  EXPECT_EQ("", got.complaints);
}

TEST_F(MatchReportTest, PrintsTheLibrarysTextsOnRequest) {
  MatchReport report(Form::raw_text, 1, EX_OK);
  report.on_result("a", evaluation(SieveMatchResult::NONE));
  EXPECT_EQ(EX_OK, report.finish({}));
  EXPECT_EQ("a\tMatchResult []\n\n0  messages\n", printed().results);
}

TEST_F(MatchReportTest, PrintsJsonWithoutATable) {
  MatchReport report(Form::json, 1, EX_OK);
  auto decided = evaluation(SieveMatchResult::NONE);
  decided.rule = "r";
  report.on_result("a", decided);
  EXPECT_EQ(EX_OK, report.finish({}));
  EXPECT_EQ("{\"message\":\"a\",\"actions\":[],\"rule\":\"r\"}\n", printed().results);
}

TEST_F(MatchReportTest, ComplainsAboutSourcesAndMessages) {
  MatchReport report(Form::json, 1, EX_OK);
  report.on_failure({"a", FailureKind::empty, "an empty file"});
  report.on_not_evaluated("b", "timed out");
  EXPECT_EQ("quarrow: a: an empty file\nquarrow: b: not evaluated: timed out\n",
            printed().complaints);
}

TEST_F(MatchReportTest, HasAStatusForEachKindOfFailure) {
  EXPECT_EQ(EX_NOINPUT, complain({"a", FailureKind::cannot_read, "x"}));
  for (const FailureKind kind :
       {FailureKind::not_a_maildir, FailureKind::empty, FailureKind::too_long})
    EXPECT_EQ(EX_DATAERR, complain({"a", kind, "x"}));
}

TEST_F(MatchReportTest, EndsWithTheStatusOfTheLastFailure) {
  MatchReport before(Form::json, 1, EX_NOINPUT);
  before.on_result("a", evaluation(SieveMatchResult::NONE));
  EXPECT_EQ(EX_NOINPUT, before.finish({}));
  MatchReport error_last(Form::json, 1, EX_OK);
  error_last.on_failure({"a", FailureKind::cannot_read, "x"});
  error_last.on_result("b", evaluation(SieveMatchResult::PARSE_ADDRESS));
  EXPECT_EQ(EX_DATAERR, error_last.finish({}));
  MatchReport source_last(Form::json, 1, EX_OK);
  source_last.on_result("b", evaluation(SieveMatchResult::PARSE_ADDRESS));
  source_last.on_failure({"a", FailureKind::cannot_read, "x"});
  EXPECT_EQ(EX_NOINPUT, source_last.finish({}));
}

TEST_F(MatchReportTest, AsksForAnotherTryWhenNotAllWasEvaluated) {
  MatchReport report(Form::json, 1, EX_OK);
  Trial::RunResult result;
  result.tally.add_not_evaluated();
  report.on_not_evaluated("a", "timed out");
  report.on_failure({"b", FailureKind::cannot_read, "x"});
  EXPECT_EQ(EX_TEMPFAIL, report.finish(result));
}

}  // namespace
}  // namespace Quarrow::Command
