// Pieces of work, their answers, and ends of the process.
#include "trial/job_process.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <stdexcept>

namespace Quarrow::Trial {
namespace {

// Answers with as many bytes as the number says.
Work long_answers() {
  return [](std::uint64_t number) { return std::string(number, 'x'); };
}

void wait_for_news(const JobProcess& job) {
  pollfd news = {job.socket(), POLLIN, 0};
  ASSERT_EQ(1, poll(&news, 1, -1));
}

TEST(JobProcess, AnswersInOrder) {
  const JobProcess job(long_answers);
  ASSERT_TRUE(job.give(3));
  ASSERT_TRUE(job.give(0));
  wait_for_news(job);
  EXPECT_EQ("xxx", job.take());
  EXPECT_EQ("", job.take());
}

TEST(JobProcess, SendsAnAnswerLongerThanASocketHolds) {
  const JobProcess job(long_answers);
  ASSERT_TRUE(job.give(10000000));
  const auto answer = job.take();
  ASSERT_TRUE(answer);
  EXPECT_EQ(std::string(10000000, 'x'), *answer);
}

TEST(JobProcess, IsPreparedInItsOwnProcess) {
  const pid_t here = getpid();
  const JobProcess job([here]() -> Work {
    const pid_t there = getpid();
    return [=](std::uint64_t) { return std::string(there == here ? "here" : "there"); };
  });
  ASSERT_TRUE(job.give(0));
  EXPECT_EQ("there", job.take());
}

TEST(JobProcess, HasNoAnswerOnceItIsKilled) {
  const JobProcess job(long_answers);
  ASSERT_EQ(0, kill(job.process(), SIGKILL));
  wait_for_news(job);
  EXPECT_FALSE(job.take());
  EXPECT_FALSE(job.give(1));
}

TEST(JobProcess, HasNoAnswerWhenItsWorkFails) {
  const JobProcess job([]() -> Work {
    return [](std::uint64_t) -> std::string { throw std::runtime_error("work"); };
  });
  ASSERT_TRUE(job.give(1));
  EXPECT_FALSE(job.take());
}

TEST(JobProcess, EndsWhenItHasNoWork) {
  const JobProcess job([]() -> Work { return nullptr; });
  EXPECT_FALSE(job.take());
}

TEST(JobProcess, EndsWhileALaterOneHoldsItsSocket) {
  auto first = std::make_unique<JobProcess>(long_answers);
  const JobProcess second(long_answers);
  const pid_t process = first->process();
  first.reset();
  EXPECT_EQ(-1, kill(process, 0));
}

}  // namespace
}  // namespace Quarrow::Trial
