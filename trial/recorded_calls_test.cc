// Calls that went through a record, and records that are damaged.
#include "trial/recorded_calls.h"

#include <gtest/gtest.h>

#include "trial/observer_test_support.h"

namespace Quarrow::Trial {
namespace {

using Delivery::Evaluation;

Evaluation filed() {
  Evaluation evaluation;
  evaluation.outcome = Evaluation::Outcome::done;
  evaluation.rule = "Work";
  SieveAction action;
  action.type = SieveAction::FILEINTO;
  action.mailbox = "Box";
  evaluation.result.actions.push_back(action);
  return evaluation;
}

// A record with a call of each kind.
std::string record_of_all() {
  CallRecorder recorder;
  recorder.on_result("a", filed());
  recorder.on_progress(7);
  recorder.on_not_evaluated("b", "too slow");
  recorder.on_failure({"c", SourceFailure::Kind::empty, "an empty file"});
  return recorder.finish();
}

TEST(RecordedCalls, AreMadeAnewInOrder) {
  RecordingObserver observer;
  EXPECT_TRUE(replay(record_of_all(), observer));
  EXPECT_EQ((Calls{"result a", "progress 7", "not evaluated b: too slow", "failure c"}),
            observer.calls());
}

TEST(RecordedCalls, KeepTheWholeEvaluationAndFailure) {
  class : public RecordingObserver {
   public:
    void on_result(const std::string& /*name*/, const Evaluation& got) override {
      EXPECT_EQ("Work", got.rule);
      ASSERT_EQ(1U, got.result.actions.size());
      EXPECT_EQ(SieveAction::FILEINTO, got.result.actions.front().type);
      EXPECT_EQ("Box", got.result.actions.front().mailbox);
    }
    void on_failure(const SourceFailure& failure) override {
      EXPECT_EQ(SourceFailure::Kind::empty, failure.kind);
      EXPECT_EQ("an empty file", failure.reason);
    }
  } observer;
  EXPECT_TRUE(replay(record_of_all(), observer));
}

TEST(RecordedCalls, AreNotMadeUnlessAllAreThere) {
  const std::string record = record_of_all();
  RecordingObserver observer;
  for (std::size_t size = 0; size < record.size(); ++size)
    EXPECT_FALSE(replay(record.substr(0, size), observer)) << size;
  EXPECT_FALSE(replay(record + "x", observer));
  EXPECT_TRUE(observer.calls().empty());
}

TEST(RecordedCalls, BeginAnotherRecordAfterTheEnd) {
  CallRecorder recorder;
  recorder.on_failure({"a", SourceFailure::Kind::empty, ""});
  EXPECT_TRUE(recorder.has_failure());
  (void)recorder.finish();
  EXPECT_FALSE(recorder.has_failure());
  RecordingObserver observer;
  const std::string record = recorder.finish();
  EXPECT_FALSE(record.empty());
  EXPECT_TRUE(replay(record, observer));
  EXPECT_TRUE(observer.calls().empty());
}

}  // namespace
}  // namespace Quarrow::Trial
