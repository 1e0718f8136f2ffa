// What is counted of a journal's records.
#include "apps/quarrow/journal_statistics.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <cstdlib>
#include <sstream>

#include "tests/support/rules_test_support.h"

namespace Quarrow::Command {
namespace {

using Delivery::JournalRecord;
using MessageFilters::FilterList__;
using MessageFilters::make_rule;
using MessageFilters::subject_test;
using Status = Delivery::Report::Status;

constexpr std::time_t noon = 1777896000;

JournalRecord record(std::time_t time, const std::string& rule,
                     const std::vector<std::string>& folders, Status status = Status::delivered) {
  JournalRecord record;
  record.time = time;
  record.rule = rule;
  record.folders = folders;
  record.status = status;
  return record;
}

const std::vector<JournalRecord> records = {
    record(noon, "Lists", {"A", "B"}), record(noon + 1, "", {"Inbox"}, Status::temporary_failure),
    record(noon + 60, "Lists", {"A"}), record(noon + 30, "Gone", {}, Status::discarded),
    record(noon + 2, "", {"Inbox"}),
};

std::string shown(const std::vector<JournalRecord>& from, ListingForm form) {
  (void)setenv("TZ", "UTC0", 1);
  tzset();
  const auto list = boost::make_shared<FilterList__>();
  list->filters = {make_rule("Lists", subject_test()), make_rule("Old", subject_test())};
  list->filters.front()->id = 7;
  list->filters.back()->id = 8;
  std::ostringstream out;
  print_journal_statistics(*list, from, form, out);
  return out.str();
}

TEST(JournalStatistics, HaveARowForEachRuleThatIsThereOrWas) {
  EXPECT_EQ(
      "7\tLists\tyes\t2\t1777896060\tA: 2, B: 1\n"
      "8\tOld\tyes\t0\t\t\n"
      "\tGone\t\t1\t1777896030\t(discarded): 1\n"
      "\t\t\t1\t1777896002\tInbox: 1\n",
      shown(records, ListingForm::tab));
}

TEST(JournalStatistics, TellPeopleWhichRulesDidNothing) {
  const std::string text = shown(records, ListingForm::table);
  EXPECT_NE(std::string::npos, text.find(" 2026-05-04 12:01:00 ")) << text;
  EXPECT_NE(std::string::npos,
            text.find("\n\ndecided about nothing: Old\n\n4 messages since 2026-05-04 12:00:00\n"))
      << text;
}

TEST(JournalStatistics, FindARuleByTheStartOfItsLongName) {
  const auto list = boost::make_shared<FilterList__>();
  list->filters = {make_rule(std::string(300, 'n'), subject_test())};
  Delivery::Report report;
  report.status = Status::delivered;
  report.rule = list->filters.front()->name;
  std::ostringstream out;
  print_journal_statistics(*list, {Delivery::record_of(report)}, ListingForm::json, out);
  EXPECT_NE(std::string::npos, out.str().find("\"enabled\":true,\"decided\":1,")) << out.str();
}

}  // namespace
}  // namespace Quarrow::Command
