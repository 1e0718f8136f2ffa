// The fields of a log line.
#include "lmtp/delivery_record.h"

#include <charconv>
#include <map>
#include <string_view>

#include "message_filters/mailbox_name.h"
#include "system/printable.h"

namespace Quarrow::Lmtp {
namespace {

std::string word(const std::string& text) { return escaped(text, {"\\", " "}); }

std::string quoted(const std::string& text) { return '"' + escaped(text, {"\\\""}) + '"'; }

// Takes the next character off the front of `text`, which holds one, and resolves its escape.
char take_character(std::string_view& text) {
  char c = text.front();
  text.remove_prefix(1);
  if (c != '\\' || text.empty()) return c;
  c = text.front();
  text.remove_prefix(1);
  if (c != 'x' || text.size() < 2) return c;
  unsigned code = 0;
  (void)std::from_chars(text.data(), text.data() + 2, code, 16);
  text.remove_prefix(2);
  return static_cast<char>(code);
}

// Takes a value with quotes, or else up to a blank, off the front. False where the quotes are not
// there.
bool take_value(bool is_quoted, std::string_view& text, std::string& value) {
  if (is_quoted && (text.empty() || text.front() != '"')) return false;
  if (is_quoted) text.remove_prefix(1);
  const char end = is_quoted ? '"' : ' ';
  while (!text.empty() && text.front() != end) value += take_character(text);
  if (is_quoted && text.empty()) return false;
  if (is_quoted) text.remove_prefix(1);
  return true;
}

// The fields of a line by their names; none when it is no list of fields.
std::map<std::string, std::string> fields_of(std::string_view text) {
  std::map<std::string, std::string> fields;
  while (!text.empty()) {
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos) return {};
    const std::string name(text.substr(0, equals));
    text.remove_prefix(equals + 1);
    // an address may begin with a quote
    const bool is_quoted = name == "rule" || name == "note";
    if (!take_value(is_quoted, text, fields[name])) return {};
    if (!text.empty() && text.front() != ' ') return {};
    if (!text.empty()) text.remove_prefix(1);
  }
  return fields;
}

}  // namespace

std::string log_line(const DeliveryRecord& record) {
  const std::string id = record.message_id.empty() ? "<>" : word(record.message_id);
  const std::string note = record.note.empty() ? "" : " note=" + quoted(record.note);
  const std::string recipient = record.recipient == record.user || record.recipient.empty()
                                    ? ""
                                    : " recipient=" + word(record.recipient);
  const std::string client = record.client.empty() ? "" : " client=" + word(record.client);
  return "user=" + word(record.user) + recipient + " msgid=" + id + client +
         " rule=" + quoted(record.rule) +
         " action=" + word(MessageFilters::readable_mailbox_name(record.action)) +
         " took=" + std::to_string(record.took.count()) + "ms" + note;
}

std::optional<LoggedDelivery> logged_delivery(const std::string& line) {
  // Other programs' lines may hold anything, but behind the colon that ends their own name.
  const std::size_t colon = line.find(": ");
  const std::size_t program = line.find("quarrow-lmtpd[");
  if (colon == std::string::npos || program > colon) return std::nullopt;
  auto fields = fields_of(std::string_view(line).substr(colon + 2));
  for (const char* name : {"user", "msgid", "rule", "action", "took"})
    if (fields.count(name) == 0) return std::nullopt;
  LoggedDelivery logged;
  logged.origin = line.substr(0, program);
  while (!logged.origin.empty() && logged.origin.back() == ' ') logged.origin.pop_back();
  logged.record.user = fields["user"];
  logged.record.recipient = fields.count("recipient") > 0 ? fields["recipient"] : fields["user"];
  logged.record.message_id = fields["msgid"] == "<>" ? "" : fields["msgid"];
  logged.record.rule = fields["rule"];
  logged.record.action = fields["action"];
  logged.record.note = fields["note"];
  return logged;
}

}  // namespace Quarrow::Lmtp
