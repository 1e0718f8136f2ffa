// Deliveries out of a journal and a log, and what is shown of them.
#include "apps/quarrow/past_deliveries.h"

#include <gtest/gtest.h>
#include <sysexits.h>

#include <cstdlib>

#include "lmtp/delivery_record.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Command {
namespace {

using Delivery::InboxReason;
using Delivery::JournalRecord;
using Status = Delivery::Report::Status;

JournalRecord make_record(const std::string& id, const std::string& revision) {
  JournalRecord record;
  record.time = 1777896000;
  record.message_id = id;
  record.revision = revision;
  record.rule = "Lists";
  record.status = Status::delivered;
  record.folders = {"R&D", "Inbox"};
  record.inbox_reason = InboxReason::asked;
  return record;
}

std::string text_of(const JournalRecord& record, const std::string& revision_now) {
  (void)setenv("TZ", "UTC0", 1);
  tzset();
  return past_deliveries_text(deliveries_in({{record}, "", revision_now}, record.message_id));
}

TEST(PastDeliveries, AreThoseOfTheMessage) {
  const UserJournal journal = {{make_record("<1>", "a"), make_record("<2>", "a"),
                                make_record("<1>", "b"), make_record("", "b")},
                               "",
                               "b"};
  const auto found = deliveries_in(journal, "<1>");
  ASSERT_EQ(2U, found.size());
  EXPECT_EQ(true, found[0].has_other_rules);
  EXPECT_EQ(false, found[1].has_other_rules);
  EXPECT_EQ(0U, deliveries_in(journal, "").size());
}

TEST(PastDeliveries, AreShownToPeople) {
  EXPECT_EQ(
      "delivery of 2026-05-04 12:00:00\n"
      "  rule: Lists\n"
      "  place: folder R&D, inbox (the rule says so)\n"
      "  rules: a7bb8eb6aae9; the rules are the same now\n",
      text_of(make_record("<1>", "a7bb8eb6aae9"), "a7bb8eb6aae9"));
  JournalRecord record = make_record("<1>", "");
  record.rule = "";
  record.folders = {"Inbox"};
  record.inbox_reason = InboxReason::no_rule;
  record.note = "no rule matched\n";
  EXPECT_EQ(
      "delivery of 2026-05-04 12:00:00\n"
      "  rule: none\n"
      "  place: inbox (no rule matched\\n)\n"
      "  rules: none; the rules have changed since\n",
      text_of(record, "b"));
}

TEST(PastDeliveries, HaveAPlaceForEachOutcome) {
  const struct {
    Status status;
    const char* place;
  } cases[] = {{Status::rejected, "  place: rejected\n"},
               {Status::discarded, "  place: discarded\n"},
               {Status::temporary_failure, "  place: left with the mail server\n"}};
  for (const auto& c : cases) {
    JournalRecord record = make_record("<1>", "a");
    record.folders.clear();
    record.inbox_reason = InboxReason::none;
    record.status = c.status;
    EXPECT_NE(std::string::npos, text_of(record, "a").find(c.place)) << text_of(record, "a");
  }
}

class LoggedDeliveries : public testing::Test {
 protected:
  static std::string line(const std::string& user, const std::string& id,
                          const std::string& action) {
    Lmtp::DeliveryRecord record;
    record.user = user;
    record.message_id = id;
    record.rule = "Lists";
    record.action = action;
    return "2026-05-04T12:00:00.123+0000 quarrow-lmtpd[17] info: " + Lmtp::log_line(record) + '\n';
  }
  std::vector<PastDelivery> find(const std::string& log) const {
    std::vector<PastDelivery> found;
    const std::string path = folder_.write("log", log);
    EXPECT_FALSE(add_logged_deliveries(path, "a@example.org", "<1>", found));
    return found;
  }

  const TemporaryFolder folder_;
};

TEST_F(LoggedDeliveries, AreThoseOfTheUserAndTheMessage) {
  EXPECT_EQ(0U, find("").size());
  const auto found =
      find(line("b@example.org", "<1>", "keep") + "other\n" + line("a@example.org", "<2>", "keep") +
           line("a@example.org", "<1>", "fileinto:A,B,fileinto:C,keep"));
  ASSERT_EQ(1U, found.size());
  EXPECT_EQ((std::vector<std::string>{"A,B", "C", "Inbox"}), found[0].record.folders);
  EXPECT_EQ(
      "delivery of 2026-05-04T12:00:00.123+0000\n"
      "  rule: Lists\n"
      "  place: folder A,B, folder C, inbox\n"
      "  rules: not in the log\n",
      past_deliveries_text(found));
  EXPECT_EQ(
      "[{\"time\":null,\"logged\":\"2026-05-04T12:00:00.123+0000\",\"status\":\"delivered\","
      "\"rule\":\"Lists\",\"places\":[\"A,B\",\"C\",\"Inbox\"],\"inbox_reason\":null,\"note\":\"\","
      "\"revision\":null,\"rules_changed\":null}]",
      past_deliveries_json(found).dump());
}

TEST_F(LoggedDeliveries, HaveAnOutcomeForEachAction) {
  const struct {
    const char* action;
    Status status;
  } cases[] = {{"keep", Status::delivered},
               {"reject", Status::rejected},
               {"discard", Status::discarded},
               {"loop", Status::rejected},
               {"retry", Status::temporary_failure}};
  for (const auto& c : cases) {
    const auto found = find(line("a@example.org", "<1>", c.action));
    ASSERT_EQ(1U, found.size()) << c.action;
    EXPECT_EQ(c.status, found[0].record.status) << c.action;
  }
}

TEST_F(LoggedDeliveries, NeedALogThatCanBeRead) {
  std::vector<PastDelivery> found;
  const Fault missing = add_logged_deliveries(folder_.file("none"), "a", "<1>", found);
  EXPECT_EQ("can't be read: No such file or directory", missing.reason);
  EXPECT_EQ(EX_NOINPUT, missing.status);
  EXPECT_TRUE(add_logged_deliveries(folder_.path(), "a", "<1>", found));
}

}  // namespace
}  // namespace Quarrow::Command
