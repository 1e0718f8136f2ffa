#include "sieve_match/copy_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace Quarrow::interpreter {
namespace {

TEST(CopyPool, GivesTheCopyThatIsWanted) {
  CopyPool pool(3);
  EXPECT_EQ(1U, pool.take(1));
  EXPECT_EQ(2U, pool.take(2));
  pool.give_back(1);
  EXPECT_EQ(1U, pool.take(1));
}

TEST(CopyPool, GivesTheFirstFreeOneInsteadOfOneInUse) {
  CopyPool pool(3);
  EXPECT_EQ(2U, pool.take(2));
  EXPECT_EQ(0U, pool.take(2));
  EXPECT_EQ(1U, pool.take(2));
  pool.give_back(0);
  EXPECT_EQ(0U, pool.take(1));
}

// Each copy counts its users, of whom there may be one.
TEST(CopyPool, GivesACopyToOneThreadAtATimeHoweverManyThereAre) {
  constexpr std::size_t copies = 2;
  constexpr int rounds = 2000;
  CopyPool pool(copies);
  std::vector<std::atomic<int>> users(copies);
  std::atomic<int> uses{0};
  std::atomic<int> shared{0};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < 3 * copies; ++i)
    threads.emplace_back([&, wanted = i % copies] {
      for (int round = 0; round < rounds; ++round) {
        const std::size_t copy = pool.take(wanted);
        if (++users[copy] != 1) ++shared;
        std::this_thread::yield();
        --users[copy];
        ++uses;
        pool.give_back(copy);
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, shared);
  EXPECT_EQ(static_cast<int>(threads.size()) * rounds, uses);
}

// Without a fork that waits, threads could hold one copy or the other in turns for ever.
TEST(CopyPool, AForkWaitsForAllCopiesAndComesFirst) {
  CopyPool pool(2);
  std::atomic<bool> forked{false};
  std::atomic<int> in_use{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] {
      while (!forked) {
        const std::size_t copy = pool.take(0);
        ++in_use;
        std::this_thread::yield();
        --in_use;
        pool.give_back(copy);
      }
    });
  for (int i = 0; i < 100; ++i) {
    pool.before_fork();
    EXPECT_EQ(0, in_use);
    pool.after_fork_in_parent();
  }
  forked = true;
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace Quarrow::interpreter
