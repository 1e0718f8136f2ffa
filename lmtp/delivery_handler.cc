// Recipients' folders, trace headers, and what a delivery's report means to a client.
#include "lmtp/delivery_handler.h"

#include <sys/stat.h>
#include <zvellparser.h>
#include <zvelluser.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <utility>

#include "delivery/trace_lines.h"
#include "lmtp/message_id.h"
#include "server/log.h"

namespace Quarrow::Lmtp {
namespace {

using Clock = std::chrono::steady_clock;
using Delivery::Evaluation;
using Delivery::Report;
using Server::log_error;
using Server::log_info;

const Reply try_again{451, "4.3.0", "The message can't be delivered now"};

// Empty for what can't be a user's address.
std::string folder_of(const std::string& recipient) {
  const EmailAddress address(recipient);
  return address.isNull() ? "" : ZvMailUserId(MAILBOX_USER, address.address()).prefpath();
}

// The address without its extension: alice@example.org for alice+lists@example.org.
std::string without_extension(const std::string& recipient, const std::string& delimiter) {
  const std::size_t at = recipient.rfind('@');
  const std::size_t begin = recipient.find_first_of(delimiter);
  if (at == std::string::npos || begin == 0 || begin >= at) return recipient;
  return recipient.substr(0, begin) + recipient.substr(at);
}

bool is_folder(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return false;
  errno = ENOTDIR;
  return S_ISDIR(status.st_mode);
}

std::string date_text(std::time_t time) {
  std::tm local{};
  char text[64];
  localtime_r(&time, &local);
  return {text, std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S %z", &local)};
}

// The client's name as it may stand in a Received line, where blanks and parentheses mean
// something.
std::string trace_name(const std::string& client) {
  static const char plain[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.:[]";
  return client.find_first_not_of(plain) == std::string::npos ? client : "unknown";
}

bool asked_for_nothing(const Evaluation& evaluation) {
  if (evaluation.outcome == Evaluation::Outcome::no_script) return true;
  return evaluation.outcome == Evaluation::Outcome::done &&
         evaluation.result.error == SieveMatchResult::NONE && evaluation.result.actions.empty();
}

Reply reply_to(const Report& report) {
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

}  // namespace

DeliveryHandler::DeliveryHandler(Places places, Delivery::Evaluate evaluate,
                                 DeliveryCounters& metrics)
    : places_(std::move(places)),
      evaluate_(std::move(evaluate)),
      metrics_(metrics),
      spool_(places_.spool) {}

Reply DeliveryHandler::check_recipient(const std::string& recipient) {
  const std::string folder = folder_for(recipient);
  if (!folder.empty() && is_folder(folder)) return {250, "2.1.5", "Recipient accepted"};
  const int error = errno;
  const bool is_missing = folder.empty() || error == ENOENT || error == ENOTDIR;
  if (is_missing && is_folder(places_.root)) {
    metrics_.add(Counter::unknown_recipient);
    return {550, "5.1.1", "There is no such user here"};
  }
  log_error((is_missing ? places_.root : folder) + ": " +
            std::strerror(is_missing ? errno : error));
  return {451, "4.3.0", "Users can't be looked up now"};
}

bool DeliveryHandler::open_message() {
  received_ = std::time(nullptr);
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
  Reply reply;
  try {
    reply = deliver_unless_it_loops(envelope, recipient, record);
  } catch (const std::exception& failure) {  // out of memory, say: the client keeps the message
    Report failed;
    failed.note = failure.what();
    reply = conclude(failed, record);
  }
  record.took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
  (reply.code == try_again.code ? log_error : log_info)(log_line(record));
  return reply;
}

Reply DeliveryHandler::deliver_unless_it_loops(const Envelope& envelope,
                                               const std::string& recipient,
                                               DeliveryRecord& record) {
  const std::string header = spool_.header();
  record.message_id = message_id(header);
  if (!Delivery::trace_lines(header, recipient).are_of_a_loop())
    return conclude(deliver_to(folder_for(recipient), added_headers(envelope, recipient)), record);
  metrics_.add(Counter::looped);
  record.action = "loop";
  return {554, "5.4.6", "The message loops: it was delivered to this recipient before"};
}

// Counts what became of a message, tells the log of it, and gives the reply.
Reply DeliveryHandler::conclude(const Report& report, DeliveryRecord& record) {
  count(report);
  record.rule = report.rule;
  record.action = report.status == Report::Status::temporary_failure ? "retry" : report.action;
  record.note = report.note;
  return reply_to(report);
}

// The folder of the user whose mail it is; where he has none, that of the recipient as he stands.
std::string DeliveryHandler::folder_for(const std::string& recipient) const {
  const std::string exact = folder_of(recipient);
  const std::string user = without_extension(recipient, places_.recipient_delimiter);
  if (user == recipient || is_folder(exact) || errno != ENOENT) return exact;
  const std::string folder = folder_of(user);
  return is_folder(folder) ? folder : exact;
}

Report DeliveryHandler::deliver_to(const std::string& folder, const std::string& headers) {
  no_rule_ = false;
  const auto timed = [this](int fd, std::uint64_t size, std::time_t received,
                            const std::string& script) {
    const auto start = Clock::now();
    Evaluation evaluation = evaluate_(fd, size, received, script);
    metrics_.add_evaluation(
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start));
    no_rule_ = asked_for_nothing(evaluation);
    return evaluation;
  };
  return Delivery::deliver({folder, ""}, {spool_.fd(), spool_.size(), headers}, received_,
                           places_.host_name, timed);
}

std::string DeliveryHandler::added_headers(const Envelope& envelope,
                                           const std::string& recipient) const {
  return "Return-Path: <" + envelope.sender + ">\nDelivered-To: " + recipient +
         "\nReceived: from " + trace_name(envelope.client) + "\n\tby " + places_.host_name +
         " with " + (envelope.utf8 ? "UTF8LMTP" : "LMTP") + "\n\tfor <" + recipient + ">; " +
         date_text(received_) + '\n';
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
  if (no_rule_)
    metrics_.add(Counter::kept_without_rule);
  else if (!report.note.empty())
    metrics_.add(Counter::kept_after_failure);
}

void DeliveryHandler::close_message() { spool_.close(); }

}  // namespace Quarrow::Lmtp
