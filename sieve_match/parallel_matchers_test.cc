// Many matchers at once: beside each other in one thread, and in parallel threads.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <random>
#include <thread>

#include "quarrow/evaluation.h"
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
  const auto name = [](std::size_t i) { return "user" + std::to_string(100 + i); };
  for (int step = 0; step < 400; ++step) {
    const std::size_t i = below(matchers.size());
    switch (below(6)) {
      case 0:
        matchers[i].reset();
        break;
      case 1:
        matchers[i] = matcher_of(file_by_sender(name(i)));
        break;
      case 2:
        EXPECT_EQ(nullptr, matcher_of("if header :is \"subject\" \"unterminated"));
        break;
      default:
        if (matchers[i] == nullptr) continue;
        outcome(*matchers[i], "X-From: \"unterminated <a@b>, a@b@c, <@[x]:a@b>\n\n");
        EXPECT_EQ(filed_to(name(i)),
                  text_of(outcome(*matchers[i], "To: " + name(i) + "@example.org\n\n")));
    }
  }
}

}  // namespace
}  // namespace Quarrow
