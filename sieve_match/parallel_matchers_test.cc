// Many matchers at once: beside each other in one thread, and in parallel threads.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>
#include <random>
#include <thread>
#include <utility>

#include "quarrow/evaluation.h"
#include "sieve_match/interpreter.h"
#include "tests/support/evaluation_test_support.h"

namespace Quarrow {
namespace {

std::string file_by_sender(const std::string& who) {
  return with_requirements(
      "if false { keep; }\nelsif address :all :contains [\"from\", \"to\"] \"" + who +
      "\" { fileinto \"" + who + "\"; stop; }\n" + "elsif header :regex \"subject\" \"^" + who +
      "\" { discard; }");
}

std::string filed_to(const std::string& folder) {
  return "MatchResult [action=FILEINTO:" + folder + "]";
}

TEST(ParallelMatchers, FourThreadsDoNotDisturbEachOther) {
  const auto work = [](const std::string& who, std::vector<std::string>& wrong) {
    const std::string mine = "From: <" + who + "@example.org>\n\n";
    const std::string by_subject = "From: other@example.org\nSubject: " + who + "\n\n";
    const std::string broken = "X-From: \"" + who + " <a@b>\nTo: x@y\n\n";
    for (int round = 0; round < 25; ++round) {
      const auto matcher = matcher_of(file_by_sender(who));
      for (int i = 0; i < 10; ++i) {
        for (const auto& [message, want] :
             {std::pair{mine, filed_to(who)},
              std::pair{by_subject, std::string("MatchResult [action=DISCARD]")},
              std::pair{broken, std::string("MatchResult []")}}) {
          const std::string got = text_of(outcome(*matcher, message));
          if (got != want) wrong.push_back(who + ": " + got);
        }
      }
    }
  };
  const std::string names[] = {"anna", "bert", "cleo", "dora"};
  std::vector<std::string> wrong[4];
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < 4; ++i) threads.emplace_back(work, names[i], std::ref(wrong[i]));
  for (std::thread& thread : threads) thread.join();
  for (const auto& each : wrong) EXPECT_EQ(std::vector<std::string>(), each);
}

// A place where a number of threads wait until all of them are there.
class Meeting {
 public:
  explicit Meeting(std::size_t awaited) : awaited_(awaited) {}

  void join() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (--awaited_ == 0) complete_.notify_all();
    complete_.wait(lock, [this] { return awaited_ == 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable complete_;
  std::size_t awaited_;
};

// A log that joins a meeting once, within a run of the interpreter.
class LogThatMeets : public SieveLog {
 public:
  void Debug(const char* /*format*/, ...) override {
    if (interpreter::current_code() != SIEVE2_DEBUG_TRACE || meeting == nullptr) return;
    std::exchange(meeting, nullptr)->join();
  }
  void Error(const char* /*format*/, ...) override {}
  void Warning(const char* /*format*/, ...) override {}
  void SetComponent(const char* /*name*/) override {}

  Meeting* meeting = nullptr;
};

// Runs a script in a thread; the run joins the meeting, if there is one, before it goes on.
std::future<std::string> result_after(Meeting* meeting, const std::string& who) {
  return std::async(
      std::launch::async,
      [meeting, who] {
        auto* const log = new LogThatMeets;
        const auto matcher = matcher_of(file_by_sender(who), log);
        log->meeting = meeting;
        return text_of(outcome(*matcher, "From: <" + who + "@example.org>\n\n"));
      });
}

std::string name_of(std::size_t i) { return "user" + std::to_string(100 + i); }

// What waits for ever has failed.
class ParallelMatchersInCopies : public testing::Test {
 protected:
  void SetUp() override {
    if (interpreter::libsieve_copy_count < 2) GTEST_SKIP() << "built with one copy of libsieve";
    alarm(300);
  }
  void TearDown() override { alarm(0); }
};

TEST_F(ParallelMatchersInCopies, AsManyRunAtOnce) {
  Meeting meeting(interpreter::libsieve_copy_count);
  std::vector<std::future<std::string>> results;
  for (std::size_t i = 0; i < interpreter::libsieve_copy_count; ++i)
    results.push_back(result_after(&meeting, name_of(i)));
  for (std::size_t i = 0; i < results.size(); ++i)
    EXPECT_EQ(filed_to(name_of(i)), results[i].get());
}

TEST_F(ParallelMatchersInCopies, WhoeverFindsAllInUseGetsTheirResultLater) {
  Meeting all_in_use(interpreter::libsieve_copy_count + 1);
  std::vector<std::future<std::string>> results;
  for (std::size_t i = 0; i < interpreter::libsieve_copy_count; ++i)
    results.push_back(result_after(&all_in_use, name_of(i)));
  for (std::size_t i = 0; i < interpreter::libsieve_copy_count + 3; ++i)
    results.push_back(result_after(nullptr, name_of(results.size())));
  all_in_use.join();
  for (std::size_t i = 0; i < results.size(); ++i)
    EXPECT_EQ(filed_to(name_of(i)), results[i].get());
}

// In each copy, a context is the first that its heap holds. So its address tells the copy.
sieve2_context_t* place_of_a_use() {
  sieve2_context_t* context = nullptr;
  const interpreter::Use use(context);
  return context;
}

TEST_F(ParallelMatchersInCopies, AThreadGetsTheOneThatItHadBefore) {
  std::promise<void> first_is_free;
  std::future<bool> got_the_same;
  sieve2_context_t* first = nullptr;
  {
    const interpreter::Use use(first);
    std::promise<sieve2_context_t*> second;
    got_the_same = std::async(std::launch::async, [&second, free = first_is_free.get_future()] {
      sieve2_context_t* const before = place_of_a_use();
      second.set_value(before);
      free.wait();
      return place_of_a_use() == before;
    });
    EXPECT_NE(first, second.get_future().get());
  }
  first_is_free.set_value();
  EXPECT_TRUE(got_the_same.get());
}

TEST(ParallelMatchers, AChildForkedMeanwhileCanUseTheInterpreter) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "a thread may hold the lock of ThreadSanitizer's own heap while another forks";
#endif
  std::atomic<bool> done{false};
  std::thread busy([&done] {
    const auto matcher = matcher_of(file_by_sender("anna"));
    while (!done) outcome(*matcher, "From: x@example.org\n\n");
  });
  for (int i = 0; i < 20; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(60);  // a child that hangs is a failure
      _exit(result_of("keep;", "Subject: x\n\n") == "MatchResult [action=KEEP]" ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
  }
  done = true;
  busy.join();
}

TEST(ParallelMatchers, TwentyComeAndGoInAnyOrder) {
  std::mt19937 random(20100512);
  const auto below = [&random](std::size_t limit) { return random() % limit; };
  std::vector<std::unique_ptr<SieveMatch>> matchers(20);
  for (int step = 0; step < 400; ++step) {
    const std::size_t i = below(matchers.size());
    switch (below(6)) {
      case 0:
        matchers[i].reset();
        break;
      case 1:
        matchers[i] = matcher_of(file_by_sender(name_of(i)));
        break;
      case 2:
        EXPECT_EQ(nullptr, matcher_of("if header :is \"subject\" \"unterminated"));
        break;
      default:
        if (matchers[i] == nullptr) continue;
        outcome(*matchers[i], "X-From: \"unterminated <a@b>, a@b@c, <@[x]:a@b>\n\n");
        EXPECT_EQ(filed_to(name_of(i)),
                  text_of(outcome(*matchers[i], "To: " + name_of(i) + "@example.org\n\n")));
    }
  }
}

}  // namespace
}  // namespace Quarrow
