// The table of counts.
#include "trial/tally.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace Quarrow::Trial {
namespace {

SieveAction action(SieveAction::Type type, const std::string& folder = "") {
  SieveAction made;
  made.type = type;
  made.mailbox(folder);
  return made;
}

SieveMatchResult result(const std::vector<SieveAction>& actions) {
  SieveMatchResult made;
  for (const auto& each : actions) made.add_action(each);
  return made;
}

std::string table(const std::vector<SieveMatchResult>& results) {
  Tally tally;
  for (const auto& each : results) tally.add(each);
  std::ostringstream out;
  tally.print(out);
  return out.str();
}

TEST(Tally, CountsNoMessage) { EXPECT_EQ("0  messages\n", table({})); }

TEST(Tally, KeepsWhatNoRuleMatched) { EXPECT_EQ("1  kept\n1  message\n", table({result({})})); }

TEST(Tally, CountsACopyInBothPlaces) {
  EXPECT_EQ("1  folder Old\n1  kept\n1  message\n",
            table({result({action(SieveAction::FILEINTO, "Old"), action(SieveAction::KEEP)})}));
}

TEST(Tally, CountsAMessageOncePerPlace) {
  EXPECT_EQ("1  folder Old\n1  message\n", table({result({action(SieveAction::FILEINTO, "Old"),
                                                          action(SieveAction::FILEINTO, "Old")})}));
}

TEST(Tally, AlignsCountsAndOrdersPlaces) {
  std::vector<SieveMatchResult> results(9, result({action(SieveAction::FILEINTO, "b")}));
  results.push_back(result({action(SieveAction::FILEINTO, "a")}));
  results.push_back(result({action(SieveAction::DISCARD)}));
  results.push_back(result({action(SieveAction::REJECT)}));
  results.push_back(result({action(SieveAction::KEEP)}));
  EXPECT_EQ(" 1  folder a\n 9  folder b\n 1  kept\n 1  rejected\n 1  discarded\n13  messages\n",
            table(results));
}

TEST(Tally, CountsAnErrorAsNothingElse) {
  SieveMatchResult failed = result({action(SieveAction::FILEINTO, "Old")});
  failed.error = SieveMatchResult::PARSE_ADDRESS;
  EXPECT_EQ("1  error\n1  message\n", table({failed}));
}

TEST(Tally, CountsWhatWasNotEvaluatedAsAMessage) {
  Tally tally;
  tally.add(result({}));
  tally.add_not_evaluated();
  std::ostringstream out;
  tally.print(out);
  EXPECT_EQ("1  kept\n1  not evaluated\n2  messages\n", out.str());
}

TEST(Tally, EscapesFolderNames) {
  EXPECT_EQ("1  folder a\\nb\n1  message\n",
            table({result({action(SieveAction::FILEINTO, "a\nb")})}));
}

}  // namespace
}  // namespace Quarrow::Trial
