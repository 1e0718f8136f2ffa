// One message, several recipients, and how often rules are run.
#include "lmtp/evaluation_memory.h"

#include <gtest/gtest.h>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Lmtp {
namespace {

using Delivery::Evaluation;
using Outcome = Evaluation::Outcome;

class EvaluationMemoryTest : public testing::Test {
 protected:
  // Evaluates the message by a script of that text in the folder of `user`.
  Evaluation evaluate(const std::string& user, const std::string& script) {
    const std::string path = folder_.write(user, script);
    return memory_.evaluate([this](auto&&... asked) { return run(asked...); }, -1, 0, 0, path);
  }

  Evaluation run(int, std::uint64_t, std::time_t, const std::string& path) {
    ++runs_;
    Evaluation evaluation;
    const std::string script = path.empty() ? "" : content_of(path);
    evaluation.outcome = script.rfind("slow", 0) == 0 ? Outcome::failed : Outcome::done;
    evaluation.rule = script;
    evaluation.reason = "ran " + script;
    return evaluation;
  }

  const TemporaryFolder folder_;
  EvaluationMemory memory_;
  int runs_ = 0;
};

TEST_F(EvaluationMemoryTest, RunsAScriptOnce) {
  for (int i = 0; i < 3; ++i) EXPECT_EQ("one", evaluate("alice", "one").rule);
  EXPECT_EQ("one", evaluate("bob", "one").rule);
  EXPECT_EQ(1, runs_);
}

TEST_F(EvaluationMemoryTest, RunsEachScriptAndAChangedOne) {
  EXPECT_EQ("one", evaluate("alice", "one").rule);
  EXPECT_EQ("two", evaluate("bob", "two").rule);
  EXPECT_EQ("new", evaluate("alice", "new").rule);
  EXPECT_EQ(3, runs_);
}

TEST_F(EvaluationMemoryTest, RunsAScriptAgainForTheNextMessage) {
  evaluate("alice", "one");
  memory_.begin_message();
  evaluate("alice", "one");
  EXPECT_EQ(2, runs_);
}

TEST_F(EvaluationMemoryTest, DoesNotRunAFailedScriptAgain) {
  for (int i = 0; i < 3; ++i) EXPECT_EQ("ran slow", evaluate("alice", "slow").reason);
  EXPECT_EQ(1, runs_);
  EXPECT_EQ(Outcome::done, evaluate("bob", "one").outcome);
}

TEST_F(EvaluationMemoryTest, RunsNothingOverAMessageThatMadeTwoScriptsFail) {
  evaluate("alice", "slow 1");
  evaluate("bob", "slow 2");
  const Evaluation third = evaluate("carol", "one");
  EXPECT_EQ(Outcome::failed, third.outcome);
  EXPECT_EQ("ran slow 2", third.reason);
  EXPECT_EQ(2, runs_);
  memory_.begin_message();
  EXPECT_EQ(Outcome::done, evaluate("carol", "one").outcome);
}

TEST_F(EvaluationMemoryTest, KnowsNothingOfUsersWithoutAScript) {
  const auto missing = [this](auto&&...) { return run(-1, 0, 0, ""); };
  for (int i = 0; i < 2; ++i) memory_.evaluate(missing, -1, 0, 0, folder_.file("nobody"));
  EXPECT_EQ(2, runs_);
}

TEST_F(EvaluationMemoryTest, ForgetsTheOldestOfManyScripts) {
  for (int i = 0; i < 1000; ++i) evaluate("alice", "script " + std::to_string(i));
  EXPECT_EQ("script 0", evaluate("alice", "script 0").rule);
  EXPECT_EQ(1001, runs_);
}

}  // namespace
}  // namespace Quarrow::Lmtp
