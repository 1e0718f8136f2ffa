// The persons behind users' numbers.
#include "system/login_name.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace Quarrow {
namespace {

// The name with SUDO_USER set to `behind_sudo`.
std::string name_with_sudo(uid_t user, const char* behind_sudo) {
  setenv("SUDO_USER", behind_sudo, 1);
  const std::string name = login_name(user);
  unsetenv("SUDO_USER");
  return name;
}

TEST(LoginName, IsTheUsersOwn) {
  unsetenv("SUDO_USER");
  EXPECT_EQ("root", login_name(0));
}

TEST(LoginName, IsTheNumberOfAUserWithoutAName) { EXPECT_EQ("3999999999", login_name(3999999999)); }

TEST(LoginName, IsThatOfThePersonBehindSudo) {
  EXPECT_EQ("carol", name_with_sudo(0, "carol"));
  EXPECT_EQ("root", name_with_sudo(0, ""));
}

// Whoever is not root may have set the variable themself.
TEST(LoginName, HeedsSudoForRootAlone) {
  EXPECT_EQ("3999999999", name_with_sudo(3999999999, "carol"));
}

}  // namespace
}  // namespace Quarrow
