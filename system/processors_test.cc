// What a process may use, before and after it is bound to one processor.
#include "system/processors.h"

#include <gtest/gtest.h>
#include <sched.h>

#include "system/child_process_test_support.h"

namespace Quarrow {
namespace {

TEST(Processors, HoldTheOneThatThisProcessIsOn) {
  const int status = end_of_child([] {
                       const int here = sched_getcpu();
                       stay_on_processor(here);
                       return usable_processors() == std::vector<int>{here} ? 0 : 1;
                     }).status;
  EXPECT_EQ(0, status);
}

TEST(Processors, AreThoseThatTheSystemAllows) {
  cpu_set_t allowed;
  ASSERT_EQ(0, sched_getaffinity(0, sizeof allowed, &allowed));
  const std::vector<int> numbers = usable_processors();
  EXPECT_EQ(CPU_COUNT(&allowed), static_cast<int>(numbers.size()));
  for (const int number : numbers) EXPECT_TRUE(CPU_ISSET(number, &allowed)) << number;
}

TEST(Processors, StayAsTheyAreForANumberThatIsNone) {
  const int status = end_of_child([] {
                       const std::vector<int> before = usable_processors();
                       stay_on_processor(-1);
                       stay_on_processor(CPU_SETSIZE);
                       return usable_processors() == before ? 0 : 1;
                     }).status;
  EXPECT_EQ(0, status);
}

}  // namespace
}  // namespace Quarrow
