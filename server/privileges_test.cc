// Users that a server may run as.
#include "server/privileges.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "system/child_process_test_support.h"

namespace Quarrow::Server {
namespace {

TEST(Privileges, RefuseTheSuperuserAndStrangers) {
  EXPECT_EQ("root: the superuser serves nobody", become("root"));
  EXPECT_EQ("no-such-user: there is no such user", become("no-such-user"));
}

TEST(Privileges, AskTheSuperuserForAnotherUser) {
  const bool is_superuser = geteuid() == 0;
  EXPECT_EQ(is_superuser ? "the superuser serves nobody: name another user to run as" : "",
            refusal_to_serve_as(""));
}

// A user who becomes that user again has no rights to take groups or another number.
TEST(Privileges, AreAsTheyMustBeForTheUserAlready) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser can become another user";
  EXPECT_TRUE(holds_in_child([] { return become("nobody").empty() && become("nobody").empty(); }));
}

}  // namespace
}  // namespace Quarrow::Server
