// The memory of processes that are there, and of those that are not.
#include "delivery/memory_use.h"

#include <gtest/gtest.h>
#include <signal.h>

#include "system/child_process_test_support.h"

namespace Quarrow::Delivery {
namespace {

constexpr std::uint64_t very_much = std::uint64_t{1} << 50;

int wait_to_be_killed() {
  for (;;) (void)pause();
}

TEST(MemoryUse, IsNothingWhereItCannotBeRead) {
  EXPECT_EQ(0U, memory_use(-1).resident);
  EXPECT_EQ(0U, memory_use(-1).address_space);
}

TEST(MemoryWatch, SeesNoGrowthOfAProcessThatWaits) {
  const pid_t child = start_child(wait_to_be_killed);
  const MemoryWatch watch(child);
  EXPECT_FALSE(watch.has_grown_by(very_much));
  EXPECT_EQ(0, kill(child, SIGKILL));
  (void)wait_for(child);
  EXPECT_TRUE(watch.has_grown_by(very_much));  // it can't be told any more
}

TEST(MemoryWatch, TakesAProcessThatIsNotThereForAGrownOne) {
  EXPECT_TRUE(MemoryWatch(-1).has_grown_by(very_much));
}

}  // namespace
}  // namespace Quarrow::Delivery
