// Replies to what a lookup finds and a delivery reports, and their counters.
#include "lmtp/delivery_handler.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <utility>

#include "delivery/message_id.h"
#include "delivery/user_lock.h"
#include "server/log.h"

namespace Quarrow::Lmtp {
namespace {

using Clock = std::chrono::steady_clock;
using Delivery::Evaluation;
using Delivery::InboxReason;
using Delivery::RecipientLookup;
using Delivery::Report;
using Server::log_error;

const Reply try_again{451, "4.3.0", "The message can't be delivered now"};

const Reply locked{450, "4.2.1", "The user is being moved to another machine; try again later"};

Reply reply_to(const Report& report) {
  if (report.user_is_locked) return locked;
  switch (report.status) {
    case Report::Status::delivered:
      return {250, "2.0.0", "Delivered"};
    case Report::Status::discarded:
      return {250, "2.0.0", "Taken"};
    case Report::Status::rejected:
      return {550, "5.7.1", report.reject_text};
    case Report::Status::temporary_failure:
      break;
  }
  return try_again;
}

Severity severity_of(const Report& report) {
  if (report.user_is_locked) return Severity::information;
  if (report.status == Report::Status::temporary_failure) return Severity::error;
  return report.inbox_reason == InboxReason::failure ? Severity::warning : Severity::information;
}

void log(const DeliveryRecord& record) {
  switch (record.severity) {
    case Severity::information:
      return Server::log_info(log_line(record));
    case Severity::warning:
      return Server::log_warning(log_line(record));
    case Severity::error:
      return log_error(log_line(record));
  }
}

// For a user who was locked, or whose folder went away, between RCPT and the end of the message.
Report gone_since_accepted(const RecipientLookup& lookup) {
  Report report;
  report.user_is_locked = lookup.is_locked;
  if (lookup.is_locked)
    report.note = Delivery::locked_note;
  else if (lookup.result == RecipientLookup::Result::unknown)
    report.note = "the user has no folder any more";
  else
    report.note = lookup.object + ": " + lookup.reason;
  return report;
}

}  // namespace

DeliveryHandler::DeliveryHandler(Places places, Delivery::Evaluate evaluate,
                                 DeliveryCounters& metrics, std::string client)
    : places_(std::move(places)),
      evaluate_(std::move(evaluate)),
      metrics_(metrics),
      client_(std::move(client)),
      spool_(places_.spool, places_.most_in_memory) {}

Reply DeliveryHandler::check_recipient(const std::string& recipient) {
  const RecipientLookup lookup = look_up(recipient);
  switch (lookup.result) {
    case RecipientLookup::Result::found:
      if (lookup.is_locked) return locked;
      return {250, "2.1.5", "Recipient accepted"};
    case RecipientLookup::Result::unknown:
      metrics_.add(Counter::unknown_recipient);
      return {550, "5.1.1", "There is no such user here"};
    case RecipientLookup::Result::unavailable:
      break;
  }
  log_error(lookup.object + ": " + lookup.reason);
  return {451, "4.3.0", "Users can't be looked up now"};
}

std::string DeliveryHandler::spelling_of(const std::string& recipient) const {
  return Delivery::user_spelling(recipient, places_.address_case);
}

bool DeliveryHandler::open_message() {
  received_ = std::time(nullptr);
  evaluations_.begin_message();
  if (spool_.open()) return true;
  log_error(places_.spool + ": " + std::strerror(errno));
  return false;
}

bool DeliveryHandler::add(const char* data, std::size_t size) {
  if (spool_.add(data, size)) return true;
  log_error(places_.spool + ": " + std::strerror(errno));
  return false;
}

Reply DeliveryHandler::deliver(const Envelope& envelope, const std::string& recipient) {
  const auto start = Clock::now();
  DeliveryRecord record;
  record.user = recipient;
  record.recipient = recipient;
  record.client = client_;
  Reply reply;
  try {
    reply = deliver_unless_it_loops(envelope, recipient, record);
  } catch (const std::exception& failure) {  // out of memory, say: the client keeps the message
    Report failed;
    failed.note = failure.what();
    reply = conclude(failed, record);
  }
  record.took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
  log(record);
  return reply;
}

Reply DeliveryHandler::deliver_unless_it_loops(const Envelope& envelope,
                                               const std::string& recipient,
                                               DeliveryRecord& record) {
  const RecipientLookup lookup = look_up(recipient);
  if (lookup.result == RecipientLookup::Result::found) record.user = lookup.user;
  const std::string header = spool_.header();
  record.message_id = Delivery::message_id(header);
  const Delivery::TraceHeaders trace =
      Delivery::trace_headers(header, {envelope.sender, recipient}, reception_of(envelope));
  if (!trace.is_loop) return conclude(deliver_to(envelope, lookup, trace.lines), record);
  metrics_.add(Counter::looped);
  record.action = "loop";
  return {554, "5.4.6", "The message loops: it was delivered to this recipient before"};
}

// Counts the result of a delivery, puts it into the log's record, and gives the reply.
Reply DeliveryHandler::conclude(const Report& report, DeliveryRecord& record) {
  count(report);
  record.rule = report.rule;
  record.action = report.status == Report::Status::temporary_failure ? "retry" : report.action;
  record.note = report.note;
  record.severity = severity_of(report);
  if (!report.journal_fault.empty())
    Server::log_warning(record.user + ": not noted in the journal: " + report.journal_fault);
  return reply_to(report);
}

RecipientLookup DeliveryHandler::look_up(const std::string& recipient) const {
  return Delivery::look_up_recipient(recipient, {places_.root, Delivery::MountSign::Kind::folder},
                                     places_.recipient_delimiter, places_.address_case);
}

Report DeliveryHandler::deliver_to(const Envelope& envelope, const RecipientLookup& lookup,
                                   const std::string& headers) {
  if (lookup.result != RecipientLookup::Result::found || lookup.is_locked)
    return gone_since_accepted(lookup);
  const auto timed = [this](int fd, std::uint64_t size, std::time_t received,
                            const std::string& script) {
    const auto start = Clock::now();
    Evaluation evaluation = evaluate_(fd, size, received, script);
    metrics_.add_evaluation(
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start));
    return evaluation;
  };
  const auto once = [&](int fd, std::uint64_t size, std::time_t received,
                        const std::string& script) {
    return evaluations_.evaluate(timed, fd, size, received, script);
  };
  const bool is_only_one = envelope.recipients.size() == 1;
  return Delivery::deliver({lookup.folder, "", places_.folder_dots, places_.keeps_journal},
                           {spool_.fd(), spool_.size(), headers}, received_, places_.host_name,
                           is_only_one ? Delivery::Evaluate(timed) : Delivery::Evaluate(once));
}

Delivery::Reception DeliveryHandler::reception_of(const Envelope& envelope) const {
  return {envelope.client, places_.host_name, envelope.utf8 ? "UTF8LMTP" : "LMTP", received_};
}

void DeliveryHandler::count(const Report& report) {
  switch (report.status) {
    case Report::Status::rejected:
      return metrics_.add(Counter::rejected);
    case Report::Status::discarded:
      return metrics_.add(Counter::discarded);
    case Report::Status::temporary_failure:
      return metrics_.add(Counter::temporary_failure);
    case Report::Status::delivered:
      break;
  }
  for (const std::string& folder : report.folders)
    metrics_.add(folder == "Inbox" ? Counter::delivered_inbox : Counter::delivered_other);
  if (report.inbox_reason == InboxReason::no_rule || report.inbox_reason == InboxReason::no_script)
    metrics_.add(Counter::kept_without_rule);
  else if (report.inbox_reason == InboxReason::failure)
    metrics_.add(Counter::kept_after_failure);
}

void DeliveryHandler::close_message() { spool_.close(); }

}  // namespace Quarrow::Lmtp
