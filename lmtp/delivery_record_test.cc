// Log lines of deliveries.
#include "lmtp/delivery_record.h"

#include <gtest/gtest.h>

namespace Quarrow::Lmtp {
namespace {

TEST(DeliveryRecord, IsALine) {
  DeliveryRecord record;
  record.user = "a@example.org";
  record.message_id = "<1@example.org>";
  record.rule = "News";
  record.action = "fileinto:Work";
  record.took = std::chrono::milliseconds(3);
  EXPECT_EQ("user=a@example.org msgid=<1@example.org> rule=\"News\" action=fileinto:Work took=3ms",
            log_line(record));
}

TEST(DeliveryRecord, NamesTheRecipientWhereItIsNotTheUser) {
  DeliveryRecord record;
  record.user = "alice@example.org";
  record.recipient = "alice+lists@example.org";
  EXPECT_EQ(
      "user=alice@example.org recipient=alice+lists@example.org msgid=<> rule=\"\" action= "
      "took=0ms",
      log_line(record));
  record.recipient = record.user;
  EXPECT_EQ("user=alice@example.org msgid=<> rule=\"\" action= took=0ms", log_line(record));
}

TEST(DeliveryRecord, NamesTheClientThatAProxyTold) {
  DeliveryRecord record;
  record.user = "a@example.org";
  record.client = "2001:db8::1";
  EXPECT_EQ("user=a@example.org msgid=<> client=2001:db8::1 rule=\"\" action= took=0ms",
            log_line(record));
  EXPECT_TRUE(logged_delivery("quarrow-lmtpd[1] info: " + log_line(record)).has_value());
}

TEST(DeliveryRecord, ShowsFoldersAsPeopleReadThem) {
  DeliveryRecord record;
  record.action = "fileinto:Gr&APYA3w-e,fileinto:&AAo-x,keep";
  EXPECT_NE(std::string::npos, log_line(record).find(" action=fileinto:Gr\xC3\xB6\xC3\x9F"
                                                     "e,fileinto:\\x0ax,keep took="));
}

TEST(DeliveryRecord, LetsNoTextPassForAnotherField) {
  DeliveryRecord record;
  record.user = "\"a b\"@example.org";
  record.recipient = "\"a b+c d\"@example.org";
  record.rule = "x\" action=keep\n\\";
  record.action = "fileinto:A B";
  record.note = "no \"room\"";
  EXPECT_EQ(
      "user=\"a\\x20b\"@example.org recipient=\"a\\x20b+c\\x20d\"@example.org msgid=<> "
      "rule=\"x\\\" action=keep\\x0a\\\\\" "
      "action=fileinto:A\\x20B took=0ms note=\"no \\\"room\\\"\"",
      log_line(record));
}

TEST(DeliveryRecord, ComesBackFromALog) {
  DeliveryRecord record;
  record.user = "\"a b\"@example.org";
  record.recipient = "\"a b+c\"@example.org";
  record.message_id = "<1\\ 2\n@example.org>";
  record.rule = "x\" action=keep\n\\x41\\";
  record.action = "fileinto:A B,keep";
  record.note = "no \"room\" took=1ms";
  const struct {
    const char* start;
    const char* origin;
  } lines[] = {
      {"2026-05-04T12:00:00.123+0000 quarrow-lmtpd[17] info: ", "2026-05-04T12:00:00.123+0000"},
      {"May  4 12:00:00 mail quarrow-lmtpd[17]: ", "May  4 12:00:00 mail"},
      {"quarrow-lmtpd[17]: ", ""}};
  for (const auto& line : lines) {
    const auto logged = logged_delivery(line.start + log_line(record));
    ASSERT_TRUE(logged) << line.start;
    EXPECT_EQ(line.origin, logged->origin);
    EXPECT_EQ(record.user, logged->record.user);
    EXPECT_EQ(record.recipient, logged->record.recipient);
    EXPECT_EQ(record.message_id, logged->record.message_id);
    EXPECT_EQ(record.rule, logged->record.rule);
    EXPECT_EQ(record.action, logged->record.action);
    EXPECT_EQ(record.note, logged->record.note);
  }
  record = {};
  record.user = "a@example.org";
  const auto plain = logged_delivery("quarrow-lmtpd[17] info: " + log_line(record));
  ASSERT_TRUE(plain);
  EXPECT_EQ("a@example.org", plain->record.recipient);
  EXPECT_EQ("", plain->record.message_id);
}

TEST(DeliveryRecord, IsNotReadFromAnotherLine) {
  DeliveryRecord record;
  record.user = "a@example.org";
  record.note = "n";
  const std::string line = log_line(record);
  const std::string others[] = {
      "",
      line,
      "May 4 12:00:00 mail postfix/cleanup[1]: header Subject: quarrow-lmtpd[1]: " + line,
      "quarrow-lmtpd[1] info: listening",
      "quarrow-lmtpd[1] info: user=a msgid=<1>",
      "quarrow-lmtpd[1]: " + line.substr(0, line.size() - 1),
      "quarrow-lmtpd[1]: " + line + "x"};
  for (const std::string& other : others) EXPECT_FALSE(logged_delivery(other)) << other;
}

// Where it is read, all fields but the time and the note are whole.
TEST(DeliveryRecord, IsNotReadWhereItsLineIsCutOff) {
  DeliveryRecord record;
  record.user = "\"a b\"@example.org";
  record.rule = "x\n\\";
  record.note = "\"no\"\n";
  const std::string line = "quarrow-lmtpd[1]: " + log_line(record);
  for (std::size_t length = 0; length < line.size(); ++length) {
    const auto logged = logged_delivery(line.substr(0, length));
    EXPECT_TRUE(!logged || length > line.find("took=")) << line.substr(0, length);
    EXPECT_TRUE(!logged || (logged->record.rule == record.rule && logged->record.note.empty()));
  }
}

}  // namespace
}  // namespace Quarrow::Lmtp
