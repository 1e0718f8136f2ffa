// Records of a journal and lines of a log, as one list.
#include "apps/quarrow/past_deliveries.h"

#include <sysexits.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fstream>
#include <sstream>

#include "administration/guarded_process.h"
#include "administration/users.h"
#include "apps/quarrow/folder_owner.h"
#include "apps/quarrow/time_text.h"
#include "delivery/delivery_journal.h"
#include "delivery/place_text.h"
#include "lmtp/delivery_record.h"
#include "message_filters/user_files.h"
#include "system/packet.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Delivery::JournalRecord;
using Delivery::Report;
using nlohmann::ordered_json;

// Reads what is in `folder`, in a process that becomes its owner.
GuardedOutcome journal_packet(std::string folder) {
  if (const Fault fault = become_owner_of(folder))
    return {{Refusal::Kind::not_permitted, folder, fault.reason}, ""};
  const Delivery::Journal journal = Delivery::read_journal(folder, std::time(nullptr));
  std::string sequence;
  for (const JournalRecord& record : journal.records) sequence += journal_text(record);
  PacketWriter packet;
  packet.text(sequence);
  packet.text(journal.fault);
  packet.text(Delivery::document_revision(folder));
  return {{}, packet.packet()};
}

// Puts one of the actions of a log's line into `record`. A comma may have been within a folder's
// name.
void add_action(const std::string& action, JournalRecord& record) {
  const std::string into_folder = "fileinto:";
  record.status = Report::Status::delivered;
  if (action.rfind(into_folder, 0) == 0)
    record.folders.push_back(action.substr(into_folder.size()));
  else if (action == "keep")
    record.folders.emplace_back("Inbox");
  else if (action == "reject" || action == "loop")
    record.status = Report::Status::rejected;
  else if (action == "discard")
    record.status = Report::Status::discarded;
  else if (action == "retry")
    record.status = Report::Status::temporary_failure;
  else if (!record.folders.empty())
    record.folders.back() += ',' + action;
}

JournalRecord record_of_log(const Lmtp::DeliveryRecord& logged) {
  JournalRecord record;
  record.message_id = logged.message_id;
  record.rule = logged.rule;
  record.note = logged.action == "loop" ? "the message looped" : logged.note;
  std::istringstream actions(logged.action);
  for (std::string action; std::getline(actions, action, ',');) add_action(action, record);
  return record;
}

std::string past_rules_text(const PastDelivery& delivery) {
  if (!delivery.logged.empty()) return "not in the log";
  const std::string& revision = delivery.record.revision;
  return (revision.empty() ? "none" : revision) + (delivery.has_other_rules.value_or(false)
                                                       ? "; the rules have changed since"
                                                       : "; the rules are the same now");
}

std::string shown_text(const std::string& text) { return printable(shortened(text)); }

}  // namespace

Refusal read_user_journal(const EmailAddress& user, UserJournal& journal) {
  const std::string folder = Administration::user_folder(user);
  const GuardedOutcome outcome =
      Administration::run_guarded(rules_document_of(in_folder(folder, script_name)),
                                  [&folder] { return journal_packet(folder); });
  if (outcome.refusal) return outcome.refusal;
  PacketReader packet(outcome.answer);
  journal.records = Delivery::journal_records(packet.text());
  journal.fault = packet.text();
  journal.revision = packet.text();
  return {};
}

std::vector<PastDelivery> deliveries_in(const UserJournal& journal, const std::string& message_id) {
  std::vector<PastDelivery> deliveries;
  if (message_id.empty()) return deliveries;
  for (const JournalRecord& record : journal.records)
    if (record.message_id == message_id)
      deliveries.push_back({record, record.revision != journal.revision, ""});
  return deliveries;
}

Fault add_logged_deliveries(const std::string& path, const std::string& user,
                            const std::string& message_id, std::vector<PastDelivery>& deliveries) {
  if (message_id.empty()) return {};
  std::ifstream log(path);
  for (std::string line; std::getline(log, line);) {
    const auto logged = Lmtp::logged_delivery(line);
    if (!logged || logged->record.user != user || logged->record.message_id != message_id) continue;
    const std::string origin = logged->origin.empty() ? path : logged->origin;
    deliveries.push_back({record_of_log(logged->record), std::nullopt, origin});
  }
  if (log.eof()) return {};
  return {std::string("can't be read: ") + std::strerror(errno), file_status(errno)};
}

std::string past_deliveries_text(const std::vector<PastDelivery>& deliveries) {
  std::ostringstream out;
  for (const PastDelivery& delivery : deliveries) {
    const JournalRecord& record = delivery.record;
    out << "delivery of "
        << (delivery.logged.empty() ? time_text(record.time) : shown_text(delivery.logged)) << '\n'
        << "  rule: " << (record.rule.empty() ? "none" : shown_text(record.rule)) << '\n'
        << "  place: " << printable(Delivery::past_place_text(record)) << '\n'
        << "  rules: " << shown_text(past_rules_text(delivery)) << '\n';
  }
  return out.str();
}

ordered_json past_deliveries_json(const std::vector<PastDelivery>& deliveries) {
  ordered_json list = ordered_json::array();
  for (const PastDelivery& delivery : deliveries) {
    const JournalRecord& record = delivery.record;
    ordered_json out = {
        {"time", nullptr},     {"logged", nullptr},        {"status", status_word(record.status)},
        {"rule", record.rule}, {"places", record.folders}, {"inbox_reason", nullptr},
        {"note", record.note}, {"revision", nullptr},      {"rules_changed", nullptr}};
    if (delivery.logged.empty()) {
      out["time"] = record.time;
      out["inbox_reason"] = inbox_reason_word(record.inbox_reason);
      out["revision"] = record.revision;
    } else {
      out["logged"] = delivery.logged;
    }
    if (delivery.has_other_rules) out["rules_changed"] = *delivery.has_other_rules;
    list.push_back(std::move(out));
  }
  return list;
}

}  // namespace Quarrow::Command
