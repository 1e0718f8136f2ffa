// The calls that an observer gets of a run, and the run's result.
#include "trial/run.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/temporary_folder_test_support.h"
#include "trial/observer_test_support.h"
#include "trial/result_test_support.h"
#include "trial/standard_input_test_support.h"

namespace Quarrow::Trial {
namespace {

using Delivery::Evaluation;

// Takes a message's own text for what becomes of it: "keep", "file" into the folder v1.2, "error",
// or else a reason why it was not evaluated.
class EvaluatorByText : public MessageEvaluator {
 public:
  Evaluation evaluate(const FoundMessage& message, std::time_t received) override {
    received_.push_back(received);
    Evaluation evaluation;
    if (message.bytes == "error") evaluation.result.error = SieveMatchResult::PARSE_ADDRESS;
    if (message.bytes == "file")
      evaluation.result = result({action(SieveAction::FILEINTO, "v1.2")});
    if (message.bytes == "error" || message.bytes == "keep" || message.bytes == "file")
      evaluation.outcome = Evaluation::Outcome::done;
    else
      evaluation.reason = message.bytes;
    return evaluation;
  }

  const std::vector<std::time_t>& received() const { return received_; }

 private:
  std::vector<std::time_t> received_;
};

class TrialRunTest : public testing::Test {
 protected:
  RunResult run_over(const std::vector<MailSource>& sources,
                     Delivery::FolderDots dots = Delivery::FolderDots::inbox) {
    return run(sources, evaluator_, observer_, {std::nullopt, dots});
  }

  // A source with one message.
  MailSource source(const std::string& name, const std::string& text) {
    return {folder_.write(name, text), text.size()};
  }

  const TemporaryFolder folder_;
  EvaluatorByText evaluator_;
  RecordingObserver observer_;
};

TEST_F(TrialRunTest, CountsAMessageWhereDeliveryPutsIt) {
  const std::vector<MailSource> sources = {source("a", "file")};
  const RunResult in_inbox = run_over(sources);
  EXPECT_EQ(1U, in_inbox.tally.kept);
  EXPECT_TRUE(in_inbox.tally.folders.empty());
  const RunResult in_folder = run_over(sources, Delivery::FolderDots::listescape);
  EXPECT_EQ(0U, in_folder.tally.kept);
  EXPECT_EQ((std::map<std::string, std::uint64_t>{{"v1.2", 1}}), in_folder.tally.folders);
}

TEST_F(TrialRunTest, TellsItsObserverOfEachMessageInOrder) {
  const MailSource b = source("b", "keep");
  const MailSource none = {folder_.file("none")};
  const MailSource a = source("a", "error");
  const MailSource c = source("c", "timed out");
  const RunResult result = run_over({b, none, a, c});
  EXPECT_EQ((Calls{"result " + b.path, "progress 4", "failure " + none.path, "error " + a.path,
                   "progress 5", "not evaluated " + c.path + ": timed out", "progress 9"}),
            observer_.calls());
  EXPECT_EQ(1U, result.failed_sources);
  EXPECT_EQ(3U, result.tally.messages);
  EXPECT_EQ(1U, result.tally.kept);
  EXPECT_EQ(1U, result.tally.errors);
  EXPECT_EQ(1U, result.tally.not_evaluated);
}

TEST_F(TrialRunTest, ComesToNothingWithoutSources) {
  const RunResult result = run_over({});
  EXPECT_TRUE(observer_.calls().empty());
  EXPECT_EQ(0U, result.tally.messages);
  EXPECT_EQ(0U, result.failed_sources);
}

TEST_F(TrialRunTest, EvaluatesEachMessageOfAnMbox) {
  const std::string separator = "From a@example.org Mon May  4 09:30:00 2026\n";
  const MailSource mbox = source("mbox", separator + "one\n\n" + separator + "two\n");
  const RunResult result = run_over({mbox});
  EXPECT_EQ((Calls{"not evaluated " + mbox.path + "#1: one\n", "progress 4",
                   "not evaluated " + mbox.path + "#2: two\n", "progress 4"}),
            observer_.calls());
  EXPECT_EQ(2U, result.tally.not_evaluated);
}

TEST_F(TrialRunTest, EvaluatesTheMessagesOfAMaildir) {
  for (const char* name : {"cur", "new"}) ASSERT_EQ(0, mkdir(folder_.file(name).c_str(), 0700));
  const MailSource in_new = source("new/1", "keep");
  const MailSource in_cur = source("cur/2:2,S", "keep");
  const RunResult result = run_over(find_mail({folder_.path()}).sources);
  EXPECT_EQ((Calls{"result " + in_cur.path, "progress 4", "result " + in_new.path, "progress 4"}),
            observer_.calls());
  EXPECT_EQ(2U, result.tally.kept);
}

TEST_F(TrialRunTest, ReadsStandardInputOnce) {
  const PipedStandardInput input("keep");
  const RunResult result = run_over(find_mail({"-", "-"}).sources);
  EXPECT_EQ((Calls{"result -", "progress 4", "failure -"}), observer_.calls());
  EXPECT_EQ(1U, result.tally.kept);
  EXPECT_EQ(1U, result.failed_sources);
}

TEST_F(TrialRunTest, TakesAMessageAsReceivedWhenItsFileWasChanged) {
  const MailSource old = source("a", "keep");
  const timespec times[] = {{1000, 0}, {2000, 0}};  // of access and change
  ASSERT_EQ(0, utimensat(AT_FDCWD, old.path.c_str(), times, 0));
  run_over({old});
  EXPECT_EQ(std::vector<std::time_t>{2000}, evaluator_.received());
}

TEST_F(TrialRunTest, TakesAllMessagesAsReceivedWhenTheCallerSays) {
  const MailSource a = source("a", "keep");
  const MailSource b = source("1777896000.M5P7Q1.host,S=4", "keep");
  (void)run({a, b}, evaluator_, observer_, {1000});
  EXPECT_EQ((std::vector<std::time_t>{1000, 1000}), evaluator_.received());
}

}  // namespace
}  // namespace Quarrow::Trial
