// Users that a server may run as.
#include "server/privileges.h"

#include <gtest/gtest.h>
#include <unistd.h>

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

}  // namespace
}  // namespace Quarrow::Server
