// A run in a thread of its own, seen from the thread that adds messages.
#include "refiling/refiling_thread.h"

#include <gtest/gtest.h>

#include <thread>

#include "refiling/refiling_test_support.h"

namespace Quarrow::Refiling {
namespace {

using Administration::Refusal;

// Calls belong to the thread that made this object.
class OneThreadsRefiling : public RecordingRefiling {
 public:
  void on_done() override {
    EXPECT_EQ(own_, std::this_thread::get_id());
    RecordingRefiling::on_done();
  }
  void on_failure(const std::string& unique, const std::string& reason) override {
    EXPECT_EQ(own_, std::this_thread::get_id());
    RecordingRefiling::on_failure(unique, reason);
  }

 private:
  const std::thread::id own_ = std::this_thread::get_id();
};

class RefilingThreadTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ("", said(journal_.open(maildir_.path()))); }

  const TemporaryMaildir maildir_;
  Journal journal_;
  OneThreadsRefiling seen_;
};

TEST_F(RefilingThreadTest, MovesAllThatWasAdded) {
  constexpr std::size_t count = 3 * refiling_batch + 1;
  RefilingThread refiling(maildir_.path(), journal_, seen_);
  Lines wanted;
  for (std::size_t i = 0; i < count; ++i) {
    maildir_.put("new/" + std::to_string(i));
    wanted.push_back(".A/new/" + std::to_string(i));
  }
  std::sort(wanted.begin(), wanted.end());
  ASSERT_EQ("", said(refiling.begin("")));
  for (std::size_t i = 0; i < count; ++i) refiling.add({std::to_string(i), {".A"}});
  refiling.add({"missing", {".A"}});
  EXPECT_EQ("", said(refiling.finish()));
  EXPECT_EQ(count, static_cast<std::size_t>(seen_.done()));
  EXPECT_EQ(Lines({"missing: is no longer there"}), seen_.failures());
  EXPECT_EQ(wanted, maildir_.messages());
  std::optional<std::vector<Step>> steps;
  EXPECT_EQ("", said(journal_.read_last_run(steps)));
  EXPECT_EQ(count, steps ? steps->size() : 0);
}

TEST_F(RefilingThreadTest, DoesNothingWithoutMessages) {
  RefilingThread refiling(maildir_.path(), journal_, seen_);
  ASSERT_EQ("", said(refiling.begin("")));
  EXPECT_EQ("", said(refiling.finish()));
  EXPECT_EQ("", content_of(maildir_.file(journal_name)));
}

TEST_F(RefilingThreadTest, EndsWithoutAFinish) {
  maildir_.put("new/a");
  {
    RefilingThread refiling(maildir_.path(), journal_, seen_);
    ASSERT_EQ("", said(refiling.begin("")));
    refiling.add({"a", {".A"}});
  }
  EXPECT_EQ(Lines({"/new/a"}), maildir_.messages());
}

// A message moves only once the journal has it.
TEST_F(RefilingThreadTest, MovesNothingWhenTheJournalCannotBeWritten) {
  constexpr std::size_t count = 4 * refiling_batch;
  for (std::size_t i = 0; i < count; ++i) maildir_.put("new/" + std::to_string(i));
  const Lines before = maildir_.messages();
  const Refusal refusal = Administration::in_child([&]() -> Refusal {
    Administration::limit_file_size(100);
    RefilingThread refiling(maildir_.path(), journal_, seen_);
    if (auto unexpected = refiling.begin("")) return unexpected;
    for (std::size_t i = 0; i < count; ++i) refiling.add({std::to_string(i), {".A"}});
    return refiling.finish();
  });
  EXPECT_EQ(maildir_.file(journal_name) + ": can't be written: File too large", said(refusal));
  EXPECT_EQ(before, maildir_.messages());
}

}  // namespace
}  // namespace Quarrow::Refiling
