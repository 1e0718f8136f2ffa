// Tries that are taken, and come back.
#include "signing_in/allowance.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Quarrow::SigningIn {
namespace {

using std::chrono::seconds;

const Moment start = Moment(std::chrono::hours(1000));
const AllowanceSettings three_tries = {3, seconds(60), 1000};

void take(Allowance& allowance, const std::string& key, int times, Moment now = start) {
  for (int i = 0; i < times; ++i) allowance.take(key, now);
}

TEST(Allowance, GivesSomeTriesAtOnce) {
  Allowance allowance(three_tries);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(seconds(0), allowance.wait("one", start)) << i;
    allowance.take("one", start);
  }
  EXPECT_EQ(seconds(60), allowance.wait("one", start));
  EXPECT_EQ(seconds(0), allowance.wait("other", start));
}

TEST(Allowance, OneTryComesBackAfterEachInterval) {
  Allowance allowance(three_tries);
  take(allowance, "one", 3);
  EXPECT_EQ(seconds(1), allowance.wait("one", start + std::chrono::milliseconds(59001)));
  EXPECT_EQ(seconds(0), allowance.wait("one", start + seconds(60)));
  allowance.take("one", start + seconds(60));
  EXPECT_EQ(seconds(60), allowance.wait("one", start + seconds(60)));
  EXPECT_EQ(seconds(0), allowance.wait("one", start + seconds(180)));
  take(allowance, "one", 2, start + seconds(180));
  EXPECT_EQ(seconds(60), allowance.wait("one", start + seconds(180)));
}

TEST(Allowance, NoMoreTriesComeBackThanThereWere) {
  Allowance allowance(three_tries);
  allowance.take("one", start);
  take(allowance, "one", 3, start + std::chrono::hours(24));
  EXPECT_EQ(seconds(60), allowance.wait("one", start + std::chrono::hours(24)));
}

TEST(Allowance, TriesAreGivenBack) {
  Allowance allowance(three_tries);
  take(allowance, "one", 3);
  allowance.give_back("one", start);
  EXPECT_EQ(seconds(0), allowance.wait("one", start));
  allowance.take("one", start);
  EXPECT_EQ(seconds(60), allowance.wait("one", start));
  allowance.give_all_back("one", start);
  take(allowance, "one", 2);
  EXPECT_EQ(seconds(0), allowance.wait("one", start));
}

TEST(Allowance, NobodyGetsMoreTriesByGivingBack) {
  Allowance allowance(three_tries);
  for (int i = 0; i < 10; ++i) allowance.give_back("one", start);
  take(allowance, "one", 3);
  EXPECT_EQ(seconds(60), allowance.wait("one", start));
}

TEST(Allowance, WhoHasAllTriesTakesNoMemory) {
  Allowance allowance(three_tries);
  for (int i = 0; i < 100; ++i) allowance.take(std::to_string(i), start);
  EXPECT_EQ(100U, allowance.count());
  allowance.take("one", start + seconds(60));
  EXPECT_EQ(1U, allowance.count());
  allowance.give_back("one", start + seconds(60));
  EXPECT_EQ(0U, allowance.count());
}

TEST(Allowance, AHundredThousandStrangersTakeBoundedMemory) {
  Allowance allowance({3, seconds(60), 100});
  take(allowance, "one", 3);
  std::size_t most = 0;
  for (int i = 0; i < 100000; ++i) {
    allowance.take(std::to_string(i), start);
    most = std::max(most, allowance.count());
  }
  EXPECT_EQ(100U, most);
  EXPECT_EQ(seconds(60), allowance.wait("one", start)) << "who tried most is remembered";
}

}  // namespace
}  // namespace Quarrow::SigningIn
