// The table of counts.
#include "apps/quarrow/tally_table.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "trial/result_test_support.h"

namespace Quarrow::Command {
namespace {

using Trial::action;
using Trial::result;
using Trial::Tally;

std::string table(const Tally& tally) {
  std::ostringstream out;
  print_table(tally, out);
  return out.str();
}

std::string table(const std::vector<SieveMatchResult>& results) {
  Tally tally;
  for (const auto& each : results) tally.add(each);
  return table(tally);
}

TEST(TallyTable, CountsNoMessage) { EXPECT_EQ("0  messages\n", table(Tally())); }

TEST(TallyTable, KeepsWhatNoRuleMatched) {
  EXPECT_EQ("1  kept\n1  message\n", table({result({})}));
}

TEST(TallyTable, CountsACopyInBothPlaces) {
  EXPECT_EQ("1  folder Old\n1  kept\n1  message\n",
            table({result({action(SieveAction::FILEINTO, "Old"), action(SieveAction::KEEP)})}));
}

TEST(TallyTable, CountsAMessageOncePerPlace) {
  EXPECT_EQ("1  folder Old\n1  message\n", table({result({action(SieveAction::FILEINTO, "Old"),
                                                          action(SieveAction::FILEINTO, "Old")})}));
}

TEST(TallyTable, AlignsCountsAndOrdersPlaces) {
  std::vector<SieveMatchResult> results(9, result({action(SieveAction::FILEINTO, "b")}));
  results.push_back(result({action(SieveAction::FILEINTO, "a")}));
  results.push_back(result({action(SieveAction::DISCARD)}));
  results.push_back(result({action(SieveAction::REJECT)}));
  results.push_back(result({action(SieveAction::KEEP)}));
  EXPECT_EQ(" 1  folder a\n 9  folder b\n 1  kept\n 1  rejected\n 1  discarded\n13  messages\n",
            table(results));
}

TEST(TallyTable, CountsAnErrorAsNothingElse) {
  SieveMatchResult failed = result({action(SieveAction::FILEINTO, "Old")});
  failed.error = SieveMatchResult::PARSE_ADDRESS;
  EXPECT_EQ("1  error\n1  message\n", table({failed}));
}

TEST(TallyTable, CountsWhatWasNotEvaluatedAsAMessage) {
  Tally tally;
  tally.add(result({}));
  tally.add_not_evaluated();
  EXPECT_EQ("1  kept\n1  not evaluated\n2  messages\n", table(tally));
}

TEST(TallyTable, EscapesFolderNames) {
  EXPECT_EQ("1  folder a\\nb\n1  message\n",
            table({result({action(SieveAction::FILEINTO, "a\nb")})}));
}

}  // namespace
}  // namespace Quarrow::Command
