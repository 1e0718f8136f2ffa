// Ends of child processes.
#include "system/process_end.h"

#include <gtest/gtest.h>
#include <signal.h>

#include "system/child_process_test_support.h"

namespace Quarrow {
namespace {

TEST(ProcessEnd, HasTheExitStatus) {
  const ProcessEnd end = wait_for(start_child([] { return 7; }));
  EXPECT_EQ(0, end.signal);
  EXPECT_EQ(7, end.status);
}

TEST(ProcessEnd, HasTheSignal) {
  const ProcessEnd end = wait_for(start_child([] { return raise(SIGKILL); }));
  EXPECT_EQ(SIGKILL, end.signal);
  EXPECT_EQ(0, end.status);
}

TEST(ProcessEnd, IsNoneOfAProcessThatIsNoChild) {
  const ProcessEnd end = wait_for(getpid());
  EXPECT_EQ(0, end.signal);
  EXPECT_EQ(0, end.status);
}

}  // namespace
}  // namespace Quarrow
