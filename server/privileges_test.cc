// Users that a server may run as.
#include "server/privileges.h"

#include <gtest/gtest.h>

namespace Quarrow::Server {
namespace {

TEST(Privileges, RefuseTheSuperuserAndStrangers) {
  EXPECT_EQ("root: the superuser serves nobody", become("root"));
  EXPECT_EQ("no-such-user: there is no such user", become("no-such-user"));
}

}  // namespace
}  // namespace Quarrow::Server
