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

}  // namespace
}  // namespace Quarrow::Lmtp
