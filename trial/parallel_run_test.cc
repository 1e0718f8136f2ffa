// What an observer is told of a run that several processes share.
#include "trial/parallel_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "system/descriptor.h"
#include "tests/support/temporary_folder_test_support.h"
#include "trial/batch.h"
#include "trial/observer_test_support.h"
#include "trial/standard_input_test_support.h"

namespace Quarrow::Trial {
namespace {

using Delivery::Evaluation;

// Says of each message whether it was evaluated here or in another process. There, the text "die"
// ends the process, and those of "first" and "second" wait for each other at the fifo `meeting`.
class EvaluatorByProcess : public MessageEvaluator {
 public:
  EvaluatorByProcess(pid_t here, std::string meeting) : here_(here), meeting_(std::move(meeting)) {}

  Evaluation evaluate(const FoundMessage& message, std::time_t /*received*/) override {
    Evaluation evaluation;
    evaluation.reason = getpid() == here_ ? "here" : "there";
    if (getpid() == here_) return evaluation;
    if (message.bytes == "die") (void)raise(SIGKILL);
    if (message.bytes == "first") const Descriptor meet(open(meeting_.c_str(), O_RDONLY));
    if (message.bytes == "second") const Descriptor meet(open(meeting_.c_str(), O_WRONLY));
    return evaluation;
  }

 private:
  const pid_t here_;
  const std::string meeting_;
};

class ParallelRunTest : public testing::Test {
 protected:
  RunResult run_over(const std::vector<MailSource>& sources, std::size_t jobs = 2) {
    EvaluatorByProcess here(getpid(), meeting_);
    const auto make = [this, process = getpid()] {
      return std::make_unique<EvaluatorByProcess>(process, meeting_);
    };
    return run_in_parallel(sources, here, make, jobs, observer_);
  }

  // A source with one message, of which a batch holds no second one.
  MailSource source(const std::string& name, const std::string& text) {
    return {folder_.write(name, text), batch_size};
  }

  // What the observer is told of a message with this text, which was evaluated in `place`.
  void add(Calls& calls, const std::string& name, const std::string& text, const char* place) {
    calls.push_back("not evaluated " + name + ": " + place);
    calls.push_back("progress " + std::to_string(text.size()));
  }

  const TemporaryFolder folder_;
  const std::string meeting_ = folder_.file("meeting");
  RecordingObserver observer_;
};

TEST_F(ParallelRunTest, TellsInOrderWhoeverIsDoneFirst) {
  ASSERT_EQ(0, mkfifo(meeting_.c_str(), 0600));
  std::vector<MailSource> sources;
  Calls calls;
  for (int i = 0; i < 10; ++i) {
    const std::string text = i == 0 ? "first" : i == 5 ? "second" : "text";
    sources.push_back(source(std::to_string(i), text));
    add(calls, sources.back().path, text, "there");
  }
  const RunResult result = run_over(sources);
  EXPECT_EQ(calls, observer_.calls());
  EXPECT_EQ(10U, result.tally.not_evaluated);
}

// The messages that another process had when it was killed are evaluated here, in their turn; which
// others these are is a matter of speed.
TEST_F(ParallelRunTest, LosesNoMessageOfAProcessThatIsKilled) {
  std::vector<MailSource> sources;
  for (int i = 0; i < 30; ++i)
    sources.push_back(source(std::to_string(i), i == 3 || i == 20 ? "die" : "text"));
  const RunResult result = run_over(sources);
  EXPECT_EQ(30U, result.tally.not_evaluated);
  ASSERT_EQ(60U, observer_.calls().size());
  for (std::size_t i = 0; i < sources.size(); ++i) {
    const std::string& call = observer_.calls()[2 * i];
    const std::string begin = "not evaluated " + sources[i].path + ": ";
    EXPECT_EQ(begin, call.substr(0, begin.size()));
    EXPECT_TRUE((i != 3 && i != 20) || call == begin + "here") << call;
  }
}

TEST_F(ParallelRunTest, DoesAllHereWithoutAnEvaluatorForOthers) {
  const MailSource a = source("a", "text");
  const MailSource b = source("b", "text");
  EvaluatorByProcess here(getpid(), meeting_);
  const auto none = [] { return nullptr; };
  (void)run_in_parallel({a, b}, here, none, 2, observer_);
  Calls calls;
  add(calls, a.path, "text", "here");
  add(calls, b.path, "text", "here");
  EXPECT_EQ(calls, observer_.calls());
}

TEST_F(ParallelRunTest, EvaluatesEachMessageOfALargeMboxOnce) {
  const std::string separator = "From a@example.org Mon May  4 09:30:00 2026\n";
  const std::string body(100000, 'x');
  std::string text;
  for (int i = 0; i < 40; ++i) text += separator + body + "\n\n";
  const MailSource mbox = {folder_.write("mbox", text), text.size()};
  Calls calls;
  for (int i = 1; i <= 40; ++i)
    add(calls, mbox.path + '#' + std::to_string(i), body + '\n', "there");
  (void)run_over({mbox}, 3);
  EXPECT_EQ(calls, observer_.calls());
}

TEST_F(ParallelRunTest, TellsALargeFileThatCantBeReadOnce) {
  const MailSource none = {folder_.file("none"), 5 * batch_size};
  const MailSource a = source("a", "text");
  const RunResult result = run_over({none, a, none});
  Calls calls = {"failure " + none.path};
  add(calls, a.path, "text", "there");
  calls.push_back("failure " + none.path);
  EXPECT_EQ(calls, observer_.calls());
  EXPECT_EQ(2U, result.failed_sources);
}

TEST_F(ParallelRunTest, ReadsAStreamHereAndInItsTurn) {
  const PipedStandardInput input("piped");
  const MailSource a = source("a", "text");
  (void)run_over({a, {"-"}, a, {"-"}});
  Calls calls;
  add(calls, a.path, "text", "there");
  add(calls, "-", "piped", "here");
  add(calls, a.path, "text", "there");
  calls.push_back("failure -");
  EXPECT_EQ(calls, observer_.calls());
}

TEST_F(ParallelRunTest, ComesToNothingWithoutSources) {
  EXPECT_EQ(0U, run_over({}).tally.messages);
  EXPECT_TRUE(observer_.calls().empty());
}

TEST(LongWork, IsManyFilesOrLargeOnes) {
  const MailSource small = {"a", 1};
  EXPECT_FALSE(is_long_work({}));
  EXPECT_FALSE(is_long_work(std::vector<MailSource>(999, small)));
  EXPECT_TRUE(is_long_work(std::vector<MailSource>(1000, small)));
  EXPECT_FALSE(is_long_work({{"a", 8 * 1024 * 1024 - 1}}));
  EXPECT_TRUE(is_long_work({{"a", 8 * 1024 * 1024 - 1}, small}));
}

}  // namespace
}  // namespace Quarrow::Trial
