// Records as they stand in a journal, and what is read of one that others wrote into.
#include "delivery/journal_record.h"

#include <gtest/gtest.h>

namespace Quarrow::Delivery {
namespace {

using Status = Report::Status;

JournalRecord make_record(const std::string& id) {
  JournalRecord record;
  record.time = 1777896000;
  record.message_id = id;
  record.revision = "a7bb8eb6aae9";
  record.rule = "Lists";
  record.status = Status::delivered;
  record.folders = {"Größe", "Inbox"};
  record.inbox_reason = InboxReason::asked;
  record.note = "no \"room\"";
  return record;
}

std::vector<std::string> ids_of(const std::string& sequence) {
  std::vector<std::string> ids;
  for (const JournalRecord& record : journal_records(sequence)) ids.push_back(record.message_id);
  return ids;
}

using Ids = std::vector<std::string>;

TEST(JournalRecord, IsATextOfAJsonSequence) {
  EXPECT_EQ(
      "\x1e{\"time\":1777896000,\"message_id\":\"<1@x>\",\"status\":\"delivered\","
      "\"rule\":\"Lists\",\"folders\":[\"Größe\",\"Inbox\"],\"inbox_reason\":\"asked\","
      "\"note\":\"no \\\"room\\\"\",\"revision\":\"a7bb8eb6aae9\"}\n",
      journal_text(make_record("<1@x>")));
}

TEST(JournalRecord, ComesBackAsItWas) {
  const JournalRecord record = make_record("<1@x>");
  const auto records = journal_records(journal_text(record));
  ASSERT_EQ(1U, records.size());
  EXPECT_EQ(record.time, records[0].time);
  EXPECT_EQ(record.message_id, records[0].message_id);
  EXPECT_EQ(record.revision, records[0].revision);
  EXPECT_EQ(record.rule, records[0].rule);
  EXPECT_EQ(record.status, records[0].status);
  EXPECT_EQ(record.folders, records[0].folders);
  EXPECT_EQ(record.inbox_reason, records[0].inbox_reason);
  EXPECT_EQ(record.note, records[0].note);
}

TEST(JournalRecord, HasAWordForEachOutcome) {
  const struct {
    Status status;
    const char* word;
  } cases[] = {{Status::delivered, "delivered"},
               {Status::rejected, "rejected"},
               {Status::discarded, "discarded"},
               {Status::temporary_failure, "retry"}};
  for (const auto& c : cases) {
    JournalRecord record = make_record("<1@x>");
    record.status = c.status;
    EXPECT_STREQ(c.word, status_word(c.status));
    ASSERT_EQ(1U, journal_records(journal_text(record)).size()) << c.word;
    EXPECT_EQ(c.status, journal_records(journal_text(record))[0].status) << c.word;
  }
}

TEST(JournalRecord, StaysOneRecordWhateverItsTextsAre) {
  const std::string hostile[] = {"<a\n\x1e{\"time\":1,\"status\":\"delivered\"}\n>", "<a\tb\"\\>",
                                 std::string("<\0>", 3), "<\xff\xfe>", std::string(5000, '\x01')};
  for (const std::string& text : hostile) {
    JournalRecord record = make_record(text);
    record.rule = record.note = record.revision = text;
    record.folders = {text, text};
    const std::string written = journal_text(record);
    EXPECT_EQ(0U, written.rfind('\x1e')) << text;
    EXPECT_EQ(written.size() - 1, written.find('\n')) << text;
    EXPECT_EQ((Ids{text == "<\xff\xfe>" ? "<\xef\xbf\xbd\xef\xbf\xbd>" : text, "<2@x>"}),
              ids_of(written + journal_text(make_record("<2@x>"))));
  }
}

TEST(JournalRecord, IsNotReadWhereItIsCutOff) {
  const std::string first = journal_text(make_record("<1@x>"));
  const std::string last = journal_text(make_record("<3@x>"));
  const std::string cut = journal_text(make_record("<2@x>"));
  for (std::size_t size = 0; size < cut.size(); ++size) {
    const std::string part = cut.substr(0, size);
    EXPECT_EQ(Ids{"<1@x>"}, ids_of(first + part)) << part;
    EXPECT_EQ((Ids{"<1@x>", "<3@x>"}), ids_of(first + part + last)) << part;
    EXPECT_EQ(Ids{"<3@x>"}, ids_of(cut.substr(cut.size() - size, size - 1) + last)) << part;
  }
}

TEST(JournalRecord, IsWhatHasATimeAndAnOutcome) {
  const char* const others[] = {"",
                                "x\n",
                                "\x1e\n",
                                "\x1e[1,2]\n",
                                "\x1e{}\n",
                                "\x1e{\"time\":\"now\",\"status\":\"delivered\"}\n",
                                "\x1e{\"time\":1.5,\"status\":\"delivered\"}\n",
                                "\x1e{\"time\":1,\"status\":\"lost\"}\n",
                                "\x1e{\"time\":1,\"status\":7}\n",
                                "\x1e{\"time\":1}\n"};
  for (const char* text : others) EXPECT_EQ(Ids{}, ids_of(text)) << text;
  const auto records = journal_records(
      "\x1e{\"time\":1,\"status\":\"retry\",\"rule\":7,\"folders\":[1,\"A\"],\"more\":{}}\n");
  ASSERT_EQ(1U, records.size());
  EXPECT_EQ("", records[0].rule);
  EXPECT_EQ(std::vector<std::string>{"A"}, records[0].folders);
  EXPECT_EQ(InboxReason::none, records[0].inbox_reason);
  for (const char* folders : {"", ",\"folders\":\"A\""}) {
    const auto other =
        journal_records("\x1e{\"time\":1,\"status\":\"retry\"" + std::string(folders) + "}\n");
    ASSERT_EQ(1U, other.size());
    EXPECT_EQ(std::vector<std::string>(), other[0].folders);
  }
}

TEST(JournalRecord, OutlivesDeepNesting) {
  EXPECT_EQ(Ids{}, ids_of('\x1e' + std::string(1000000, '[') + '\n'));
}

TEST(JournalRecord, TellsWhatADeliveryReports) {
  Report report;
  report.status = Status::delivered;
  report.rule = std::string(1000, 'r');
  report.folders = {"Gr&APYA3w-e", std::string(1000, 'f')};
  report.inbox_reason = InboxReason::failure;
  report.note = std::string(1000, 'n');
  const JournalRecord record = record_of(report);
  EXPECT_EQ(200U, record.rule.size());
  EXPECT_EQ("Größe", record.folders.at(0));
  EXPECT_EQ(200U, record.folders.at(1).size());
  EXPECT_EQ(InboxReason::failure, record.inbox_reason);
  EXPECT_EQ(200U, record.note.size());
  EXPECT_EQ(Status::delivered, record.status);
}

TEST(JournalRecord, NamesAMessageByTheStartOfItsHeader) {
  EXPECT_EQ("<1@x>", recorded_message_id("A: b\r\nMessage-ID: <1@x>\r\n\r\nMessage-ID: <2@x>"));
  EXPECT_EQ("", recorded_message_id("A: b\n\nMessage-ID: <2@x>\n"));
  EXPECT_EQ(std::string(250, 'x'), recorded_message_id("Message-ID: " + std::string(1 << 20, 'x')));
  const std::string far = std::string(message_id_range, 'A') + "\nMessage-ID: <3@x>\n\n";
  EXPECT_EQ("", recorded_message_id(far));
}

}  // namespace
}  // namespace Quarrow::Delivery
