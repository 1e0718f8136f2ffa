// Records as JSON. A user may write anything into their journal: nothing there is taken on trust.
#include "delivery/journal_record.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>

#include "delivery/header_end.h"
#include "delivery/message_id.h"
#include "message_filters/mailbox_name.h"
#include "system/printable.h"

namespace Quarrow::Delivery {
namespace {

using Json = nlohmann::ordered_json;

constexpr char record_start = '\x1e';

// By Report::Status and by InboxReason.
const char* const status_words[] = {"delivered", "rejected", "discarded", "retry"};
const char* const reason_words[] = {"none", "asked", "no_rule", "no_script", "failure"};

// The value that `words` has a word for; none for another word.
template <typename Value, std::size_t count>
std::optional<Value> value_of(const char* const (&words)[count], const std::string& word) {
  const auto found = std::find(std::begin(words), std::end(words), word);
  if (found == std::end(words)) return std::nullopt;
  return static_cast<Value>(found - std::begin(words));
}

std::string text_in(const Json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

std::vector<std::string> texts_in(const Json& object, const char* key) {
  std::vector<std::string> texts;
  const auto found = object.find(key);
  if (found == object.end() || !found->is_array()) return texts;
  for (const Json& each : *found)
    if (each.is_string()) texts.push_back(each.get<std::string>());
  return texts;
}

std::optional<JournalRecord> record_in(std::string_view text) {
  const Json object = Json::parse(text.begin(), text.end(), nullptr, /*allow_exceptions=*/false);
  if (!object.is_object()) return std::nullopt;
  const auto time = object.find("time");
  const auto status = value_of<Report::Status>(status_words, text_in(object, "status"));
  if (time == object.end() || !time->is_number_integer() || !status) return std::nullopt;
  return JournalRecord{time->get<std::time_t>(),
                       text_in(object, "message_id"),
                       text_in(object, "revision"),
                       text_in(object, "rule"),
                       *status,
                       texts_in(object, "folders"),
                       value_of<InboxReason>(reason_words, text_in(object, "inbox_reason"))
                           .value_or(InboxReason::none),
                       text_in(object, "note")};
}

}  // namespace

JournalRecord record_of(const Report& report) {
  JournalRecord record;
  record.rule = shortened(report.rule);
  record.status = report.status;
  for (const std::string& folder : report.folders)
    record.folders.push_back(shortened(MessageFilters::readable_mailbox_name(folder)));
  record.inbox_reason = report.inbox_reason;
  record.note = shortened(report.note);
  return record;
}

std::string recorded_message_id(std::string_view message) {
  return message_id(header_of(message.substr(0, message_id_range)));
}

std::string journal_text(const JournalRecord& record) {
  const Json object = {{"time", record.time},
                       {"message_id", record.message_id},
                       {"status", status_word(record.status)},
                       {"rule", record.rule},
                       {"folders", record.folders},
                       {"inbox_reason", inbox_reason_word(record.inbox_reason)},
                       {"note", record.note},
                       {"revision", record.revision}};
  return record_start + object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::vector<JournalRecord> journal_records(std::string_view sequence) {
  std::vector<JournalRecord> records;
  while (!sequence.empty()) {
    const std::size_t end = std::min(sequence.find(record_start), sequence.size());
    const std::string_view text = sequence.substr(0, end);
    sequence.remove_prefix(std::min(end + 1, sequence.size()));
    if (text.empty() || text.back() != '\n') continue;
    if (auto record = record_in(text)) records.push_back(std::move(*record));
  }
  return records;
}

const char* status_word(Report::Status status) {
  return status_words[static_cast<std::size_t>(status)];
}

const char* inbox_reason_word(InboxReason reason) {
  return reason_words[static_cast<std::size_t>(reason)];
}

}  // namespace Quarrow::Delivery
