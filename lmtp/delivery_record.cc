// The fields of a log line.
#include "lmtp/delivery_record.h"

#include "message_filters/mailbox_name.h"
#include "system/printable.h"

namespace Quarrow::Lmtp {
namespace {

std::string word(const std::string& text) { return escaped(text, {"\\", " "}); }

std::string quoted(const std::string& text) { return '"' + escaped(text, {"\\\""}) + '"'; }

}  // namespace

std::string log_line(const DeliveryRecord& record) {
  const std::string id = record.message_id.empty() ? "<>" : word(record.message_id);
  const std::string note = record.note.empty() ? "" : " note=" + quoted(record.note);
  const std::string recipient = record.recipient == record.user || record.recipient.empty()
                                    ? ""
                                    : " recipient=" + word(record.recipient);
  return "user=" + word(record.user) + recipient + " msgid=" + id + " rule=" + quoted(record.rule) +
         " action=" + word(MessageFilters::readable_mailbox_name(record.action)) +
         " took=" + std::to_string(record.took.count()) + "ms" + note;
}

}  // namespace Quarrow::Lmtp
