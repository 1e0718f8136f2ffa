// Counts of messages.
#include "trial/tally.h"

#include <gtest/gtest.h>

#include <vector>

#include "trial/result_test_support.h"

namespace Quarrow::Trial {
namespace {

Tally tally_of(const std::vector<SieveMatchResult>& results) {
  Tally tally;
  for (const auto& each : results) tally.add(each);
  return tally;
}

// A tally with nothing but `messages` messages, for a test to add its expectation to.
Tally of_messages(std::uint64_t messages) {
  Tally tally;
  tally.messages = messages;
  return tally;
}

void expect_equal(const Tally& want, const Tally& got) {
  EXPECT_EQ(want.folders, got.folders);
  EXPECT_EQ(want.kept, got.kept);
  EXPECT_EQ(want.rejected, got.rejected);
  EXPECT_EQ(want.discarded, got.discarded);
  EXPECT_EQ(want.errors, got.errors);
  EXPECT_EQ(want.not_evaluated, got.not_evaluated);
  EXPECT_EQ(want.messages, got.messages);
}

TEST(Tally, CountsNoMessage) { expect_equal(of_messages(0), tally_of({})); }

TEST(Tally, KeepsAMessageThatNoRuleMatched) {
  Tally want = of_messages(1);
  want.kept = 1;
  expect_equal(want, tally_of({result({})}));
}

TEST(Tally, CountsACopyInBothPlaces) {
  Tally want = of_messages(1);
  want.folders = {{"Old", 1}};
  want.kept = 1;
  expect_equal(
      want, tally_of({result({action(SieveAction::FILEINTO, "Old"), action(SieveAction::KEEP)})}));
}

TEST(Tally, CountsAMessageOncePerPlace) {
  Tally want = of_messages(1);
  want.folders = {{"Old", 1}};
  expect_equal(want, tally_of({result({action(SieveAction::FILEINTO, "Old"),
                                       action(SieveAction::FILEINTO, "Old")})}));
}

TEST(Tally, CountsEveryPlaceOfItsOwn) {
  Tally want = of_messages(6);
  want.folders = {{"a", 1}, {"b", 2}};
  want.kept = 1;
  want.rejected = 1;
  want.discarded = 1;
  expect_equal(
      want, tally_of({result({action(SieveAction::FILEINTO, "b")}),
                      result({action(SieveAction::FILEINTO, "a")}),
                      result({action(SieveAction::DISCARD)}), result({action(SieveAction::REJECT)}),
                      result({action(SieveAction::KEEP)}),
                      result({action(SieveAction::FILEINTO, "b")})}));
}

TEST(Tally, CountsAnErrorAsNothingElse) {
  SieveMatchResult failed = result({action(SieveAction::FILEINTO, "Old")});
  failed.error = SieveMatchResult::PARSE_ADDRESS;
  Tally want = of_messages(1);
  want.errors = 1;
  expect_equal(want, tally_of({failed}));
}

TEST(Tally, CountsAMessageThatWasNotEvaluatedAsAMessage) {
  Tally want = of_messages(2);
  want.kept = 1;
  want.not_evaluated = 1;
  Tally got = tally_of({result({})});
  got.add_not_evaluated();
  expect_equal(want, got);
}

}  // namespace
}  // namespace Quarrow::Trial
