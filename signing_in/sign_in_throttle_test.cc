// Attackers of all kinds, and the users beside them.
#include "signing_in/sign_in_throttle.h"

#include <gtest/gtest.h>

#include "signing_in/sign_in_test_support.h"

namespace Quarrow::SigningIn {
namespace {

const std::string cafe = "198.51.100.1";

std::string address(int number) {
  return "10." + std::to_string(number >> 16) + '.' + std::to_string(number >> 8 & 255) + '.' +
         std::to_string(number & 255);
}

// An attempt with a wrong password; how long to wait, where it was not let through.
seconds try_wrong(SignInThrottle& throttle, const std::string& user, const std::string& network,
                  Moment now = start) {
  Attempt attempt{user, network};
  return throttle.begin(attempt, now);
}

// Whether an attempt with the right password is let through.
bool sign_in(SignInThrottle& throttle, const std::string& user, const std::string& network,
             Moment now = start) {
  Attempt attempt{user, network};
  if (throttle.begin(attempt, now) > seconds(0)) return false;
  throttle.right(attempt, now);
  return true;
}

// How many wrong attempts are let through before the first is not.
int guesses(SignInThrottle& throttle, const std::string& user, const std::string& network,
            Moment now = start) {
  int count = 0;
  while (try_wrong(throttle, user, network, now) == seconds(0)) ++count;
  return count;
}

TEST(SignInThrottle, SlowsOneWhoGuessesAPassword) {
  SignInThrottle throttle;
  EXPECT_EQ(8, guesses(throttle, alice, cafe));
  EXPECT_EQ(minutes(2), try_wrong(throttle, alice, cafe));
  EXPECT_EQ(minutes(2), try_wrong(throttle, alice, cafe)) << "asking too early costs nothing";
  EXPECT_EQ(1, guesses(throttle, alice, cafe, start + minutes(2)));
  EXPECT_EQ(8, guesses(throttle, alice, cafe, start + hours(1)));
}

TEST(SignInThrottle, CountsAttemptsBeforeTheyAreDecided) {
  SignInThrottle throttle;
  Attempt attempts[9];
  for (Attempt& each : attempts) each = {alice, cafe};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(seconds(0), throttle.begin(attempts[i], start)) << i;
  EXPECT_NE(seconds(0), throttle.begin(attempts[8], start));
}

TEST(SignInThrottle, ARightPasswordForgivesTheWrongOnes) {
  SignInThrottle throttle;
  for (int round = 0; round < 100; ++round) {
    for (int i = 0; i < 7; ++i) try_wrong(throttle, alice, home);
    ASSERT_TRUE(sign_in(throttle, alice, home)) << round;
  }
}

TEST(SignInThrottle, RightPasswordsAreNeverTooMany) {
  SignInThrottle throttle;
  for (int i = 0; i < 1000; ++i) ASSERT_TRUE(sign_in(throttle, alice, address(i))) << i;
  for (int i = 0; i < 1000; ++i)
    ASSERT_TRUE(sign_in(throttle, std::to_string(i) + "@example.org", home)) << i;
}

TEST(SignInThrottle, AttemptsThatNobodyDecidedDoNotCount) {
  SignInThrottle throttle;
  for (int i = 0; i < 1000; ++i) {
    Attempt attempt{alice, home};
    ASSERT_EQ(seconds(0), throttle.begin(attempt, start)) << i;
    throttle.undecided(attempt, start);
  }
  EXPECT_EQ(0U, throttle.count());
}

TEST(SignInThrottle, AStrangerDoesNotLockAUserOut) {
  SignInThrottle throttle;
  EXPECT_EQ(8, guesses(throttle, alice, cafe));
  EXPECT_TRUE(sign_in(throttle, alice, home)) << "from where nobody knows the user";
}

TEST(SignInThrottle, ManyStrangersDoNotLockAUserOutWhereTheyAreKnown) {
  SignInThrottle throttle;
  EXPECT_TRUE(sign_in(throttle, alice, home));
  int let_through = 0;
  for (int i = 0; i < 1000; ++i) let_through += guesses(throttle, alice, address(i));
  EXPECT_EQ(40, let_through);
  EXPECT_EQ(minutes(1), try_wrong(throttle, alice, cafe));
  EXPECT_TRUE(sign_in(throttle, alice, home));
  EXPECT_EQ(8, guesses(throttle, alice, home)) << "a known network may guess no more than others";
}

TEST(SignInThrottle, MistakesAtAKnownNetworkDoNotSlowTheUserElsewhere) {
  SignInThrottle throttle;
  EXPECT_TRUE(sign_in(throttle, alice, home));
  for (int hour = 0; hour < 24; ++hour) {
    const Moment now = start + hours(hour);
    EXPECT_EQ(8, guesses(throttle, alice, home, now));
    EXPECT_TRUE(sign_in(throttle, alice, address(hour), now)) << hour;
  }
}

TEST(SignInThrottle, SlowsOneWhoTriesManyUsers) {
  SignInThrottle throttle;
  EXPECT_TRUE(sign_in(throttle, alice, cafe));
  int let_through = 0;
  for (int i = 0; i < 1000; ++i)
    if (try_wrong(throttle, std::to_string(i) + "@example.org", cafe) == seconds(0)) ++let_through;
  EXPECT_EQ(40, let_through);
  EXPECT_EQ(seconds(30), try_wrong(throttle, "bob@example.org", cafe));
  EXPECT_EQ(seconds(0), try_wrong(throttle, "bob@example.org", home));
  EXPECT_TRUE(sign_in(throttle, alice, cafe)) << "who is known there is not slowed by them";
}

TEST(SignInThrottle, AnAccountOfOnesOwnGivesNoFurtherGuesses) {
  SignInThrottle throttle;
  int let_through = 0;
  for (int i = 0; i < 1000; ++i) {
    if (try_wrong(throttle, std::to_string(i) + "@example.org", cafe) == seconds(0)) ++let_through;
    sign_in(throttle, "mallory@example.org", cafe);
  }
  EXPECT_EQ(40, let_through);
}

TEST(SignInThrottle, ManyAttackersTakeBoundedMemory) {
  ThrottleSettings settings;
  settings.user_from_network.most_keys = settings.network.most_keys = 1000;
  settings.user.most_keys = 1000;
  SignInThrottle throttle(settings);
  EXPECT_TRUE(sign_in(throttle, alice, home));
  EXPECT_EQ(8, guesses(throttle, "bob@example.org", cafe));
  for (int i = 0; i < 20000; ++i) {
    try_wrong(throttle, std::to_string(i), std::to_string(i));
    ASSERT_GE(3001U, throttle.count());
  }
  EXPECT_EQ(0, guesses(throttle, "bob@example.org", cafe)) << "who tried most is not forgotten";
  EXPECT_TRUE(sign_in(throttle, alice, home));
}

}  // namespace
}  // namespace Quarrow::SigningIn
