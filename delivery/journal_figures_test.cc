// Figures of a few records.
#include "delivery/journal_figures.h"

#include <gtest/gtest.h>

namespace Quarrow::Delivery {
namespace {

using Status = Report::Status;
using Places = std::map<std::string, std::uint64_t>;

JournalRecord record_of(std::time_t time, const std::string& rule, Status status,
                        const std::vector<std::string>& folders) {
  JournalRecord record;
  record.time = time;
  record.rule = rule;
  record.status = status;
  record.folders = folders;
  return record;
}

TEST(JournalFigures, AreNoneWithoutRecords) {
  const JournalFigures figures = figures_of({});
  EXPECT_EQ(0U, figures.messages);
  EXPECT_EQ(0, figures.first);
  EXPECT_TRUE(figures.by_rule.empty());
}

TEST(JournalFigures, CountWhatEachRuleDecided) {
  const JournalFigures figures = figures_of(
      {record_of(20, "Work", Status::delivered, {"Work", "Inbox"}),
       record_of(10, "Work", Status::delivered, {"Work"}),
       record_of(30, "Spam", Status::discarded, {}), record_of(25, "Spam", Status::rejected, {}),
       record_of(5, "Work", Status::temporary_failure, {"Work"})});
  EXPECT_EQ(4U, figures.messages);
  EXPECT_EQ(10, figures.first);
  ASSERT_EQ(2U, figures.by_rule.size());
  const RuleDeliveries& work = figures.by_rule.at("Work");
  EXPECT_EQ(2U, work.decided);
  EXPECT_EQ(20, work.last);
  EXPECT_EQ((Places{{"Inbox", 1}, {"Work", 2}}), work.places);
  const RuleDeliveries& spam = figures.by_rule.at("Spam");
  EXPECT_EQ(30, spam.last);
  EXPECT_EQ((Places{{"(discarded)", 1}, {"(rejected)", 1}}), spam.places);
}

}  // namespace
}  // namespace Quarrow::Delivery
