// What is remembered, and what is forgotten first.
#include "signing_in/known_networks.h"

#include <gtest/gtest.h>

namespace Quarrow::SigningIn {
namespace {

TEST(KnownNetworks, AreThoseOfTheUser) {
  KnownNetworks known;
  known.remember("alice", "192.0.2.1");
  known.remember("bob", "192.0.2.2");
  EXPECT_TRUE(known.has("alice", "192.0.2.1"));
  EXPECT_FALSE(known.has("alice", "192.0.2.2"));
  EXPECT_FALSE(known.has("carol", "192.0.2.1"));
}

TEST(KnownNetworks, ForgetsTheOldestNetworkOfAUser) {
  KnownNetworks known({3, 10});
  for (const char* network : {"1", "2", "3", "1", "4"}) known.remember("alice", network);
  EXPECT_TRUE(known.has("alice", "1"));
  EXPECT_FALSE(known.has("alice", "2"));
  EXPECT_TRUE(known.has("alice", "3"));
  EXPECT_TRUE(known.has("alice", "4"));
}

TEST(KnownNetworks, ForgetsTheUserWhoSignedInLongestAgo) {
  KnownNetworks known({3, 2});
  for (const char* user : {"alice", "bob", "alice", "carol"}) known.remember(user, "1");
  EXPECT_EQ(2U, known.count());
  EXPECT_TRUE(known.has("alice", "1"));
  EXPECT_FALSE(known.has("bob", "1"));
  EXPECT_TRUE(known.has("carol", "1"));
}

}  // namespace
}  // namespace Quarrow::SigningIn
