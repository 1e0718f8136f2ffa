// What one process tells, and another one sees.
#include "server/shared_status.h"

#include <gtest/gtest.h>

#include "system/child_process_test_support.h"

namespace Quarrow::Server {
namespace {

TEST(SharedStatus, IsSeenByProcessesThatWereForkedBefore) {
  SharedStatus status;
  EXPECT_EQ(0U, status.workers());
  EXPECT_FALSE(status.is_stopping());
  EXPECT_EQ(0, end_of_child([&status] {
                 status.set_workers(3);
                 status.set_stopping();
                 return 0;
               }).status);
  EXPECT_EQ(3U, status.workers());
  EXPECT_TRUE(status.is_stopping());
}

}  // namespace
}  // namespace Quarrow::Server
