// The record of one delivery in a user's journal.
#ifndef QUARROW_DELIVERY_JOURNAL_RECORD_H_
#define QUARROW_DELIVERY_JOURNAL_RECORD_H_

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "quarrow/delivery/mailbox_delivery.h"

namespace Quarrow::Delivery {

// What is known later of a delivery. Nothing else of the message is kept.
struct JournalRecord {
  std::time_t time = 0;
  std::string message_id;  // as recorded_message_id() gives it
  std::string revision;    // rules_revision() of the document in place; empty without one
  std::string rule;        // the name of the rule that decided; may be empty
  Report::Status status = Report::Status::temporary_failure;
  std::vector<std::string> folders;  // in UTF-8; "Inbox" is the inbox
  InboxReason inbox_reason = InboxReason::none;
  std::string note;
};

// The record of the delivery that `report` tells of, with folders in UTF-8. Long texts are
// shortened. The time, the message's identifier and the revision are the caller's to set.
JournalRecord record_of(const Report& report);

// The identifier by which records name a message: message_id() of the first 64 KiB of its header.
// `message` is its beginning, with 64 KiB or more of it where it has so much.
std::string recorded_message_id(std::string_view message);
constexpr std::size_t message_id_range = std::size_t{64} << 10U;

// The record as a JSON text of a sequence (RFC 7464): a record separator, an object, a line feed.
// No value holds one of these two characters as a byte. Bytes that are no UTF-8 become U+FFFD.
std::string journal_text(const JournalRecord& record);

// The records in a sequence, in their order. What is cut off, or is no record, is left out, and so
// costs none of the records behind it.
std::vector<JournalRecord> journal_records(std::string_view sequence);

// Words for programs: "delivered", "rejected", "discarded", "retry".
const char* status_word(Report::Status status);
// "none", "asked", "no_rule", "no_script", "failure".
const char* inbox_reason_word(InboxReason reason);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_JOURNAL_RECORD_H_
