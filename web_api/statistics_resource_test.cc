// What filters decided about, out of a journal.
#include "delivery/delivery_journal.h"
#include "web_api/mail_test_support.h"

namespace Quarrow::WebApi {
namespace {

constexpr std::time_t day = 24 * 60 * 60;

class StatisticsResource : public WebApiTest {
 protected:
  void record(std::time_t time, const std::string& rule) const {
    Delivery::Report report;
    report.status = Delivery::Report::Status::delivered;
    report.rule = rule;
    report.folders = {"Work"};
    Delivery::JournalRecord record = record_of(report);
    record.time = time;
    ASSERT_EQ("", Delivery::append_to_journal(folder_, record));
  }

  ordered_json statistics(const std::string& parameters = "") const {
    const auto response = ask("GET", "/statistics" + parameters);
    EXPECT_EQ(200, response.status) << response.body;
    return body_of(response);
  }

  const std::time_t now_ = std::time(nullptr);
};

TEST_F(StatisticsResource, CountByTheNamesOfRules) {
  add({"a", "b", std::string(250, 'c')});
  record(now_ - 5 * day, "a");
  record(now_ - 3 * day, "a");
  record(now_ - 4 * day, "a");
  record(now_ - day, "");
  record(now_ - day, "gone");
  record(now_ - day, std::string(250, 'c'));
  const auto body = statistics();
  EXPECT_EQ(30, body["days"]);
  EXPECT_EQ(true, body["counted"]);
  EXPECT_EQ(now_ - 5 * day, body["from"]);
  EXPECT_LE(now_ - 30 * day, body["since"].get<std::time_t>());
  EXPECT_EQ(1, body["undecided"]);
  ASSERT_EQ(3U, body["rules"].size());
  EXPECT_EQ(ordered_json({{"id", 1}, {"name", "a"}, {"caught", 3}, {"last", now_ - 3 * day}}),
            body["rules"][0]);
  EXPECT_EQ(1, body["rules"][2]["caught"]) << "a journal shortens long names";
  EXPECT_EQ(ordered_json({{"id", 2}, {"name", "b"}, {"caught", 0}, {"last", nullptr}}),
            body["rules"][1]);
}

TEST_F(StatisticsResource, CountTheDaysThatAreAskedFor) {
  add({"a"});
  record(now_ - 5 * day, "a");
  record(now_ - 3 * day, "a");
  const auto body = statistics("?days=4");
  EXPECT_EQ(4, body["days"]);
  EXPECT_EQ(1, body["rules"][0]["caught"]);
  EXPECT_EQ(now_ - 5 * day, body["from"]) << "of all that is known";
  for (const char* days : {"0", "61", "x", "-1", ""})
    EXPECT_EQ("400 days", problem_in(ask("GET", std::string("/statistics?days=") + days))) << days;
}

TEST_F(StatisticsResource, TellThatNothingIsCounted) {
  add({"a"});
  auto body = statistics();
  EXPECT_EQ(false, body["counted"]);
  EXPECT_EQ(nullptr, body["from"]);
  EXPECT_EQ(0, body["rules"][0]["caught"]);
  EXPECT_EQ(0, body["undecided"]);
  write_file(folder_ + "/.delivery_journal", "");
  body = statistics();
  EXPECT_EQ(true, body["counted"]) << "no message has come yet";
}

TEST_F(StatisticsResource, NeedAJournalThatCanBeRead) {
  std::filesystem::create_directory(folder_ + "/.delivery_journal");
  EXPECT_EQ("500", problem_in(ask("GET", "/statistics")));
}

}  // namespace
}  // namespace Quarrow::WebApi
