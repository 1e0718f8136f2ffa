// quarrow deliver: a local delivery agent. Mail servers read its exit status; a failure that is not
// known to be permanent is EX_TEMPFAIL, since they return a message to its sender for any other
// number.
#include <fcntl.h>
#include <sysexits.h>
#include <unistd.h>
#include <zvelluser.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <exception>
#include <iostream>
#include <memory>

#include "administration/root_setup.h"
#include "apps/quarrow/commands/command.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/delivery_options.h"
#include "apps/quarrow/delivery_signals.h"
#include "apps/quarrow/folder_owner.h"
#include "apps/quarrow/message_spool.h"
#include "delivery/helper_process.h"
#include "delivery/recipient_lookup.h"
#include "delivery/sandbox.h"
#include "delivery/trace_headers.h"
#include "delivery/user_lock.h"
#include "message_filters/mailbox_name.h"
#include "quarrow/delivery/evaluator.h"
#include "quarrow/delivery/mailbox_delivery.h"
#include "quarrow/delivery/maildir_store.h"
#include "system/exists.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Delivery::Evaluator;
using Delivery::RecipientLookup;
using Delivery::Report;

// Takes up the standard descriptors that are closed, so that no complaint ends in a message.
bool take_up_standard_descriptors() {
  int fd = 0;
  do {
    fd = open("/dev/null", O_RDWR);  // NOLINT(android-cloexec-open): it stays with the process
  } while (fd >= 0 && fd <= STDERR_FILENO);
  return fd > STDERR_FILENO && close(fd) == 0;
}

// Writes the line that the mail server passes on to the sender: a status of RFC 3463 and a text.
int refuse(const std::string& status, const std::string& text, int exit_status) {
  std::cerr << status << ' ' << with_controls_as(' ', text) << '\n';
  return exit_status;
}

// The configuration is the sign that the disk with the users' folders is mounted.
Delivery::MountSign mount_sign(const std::string& root) {
  return {Administration::configuration_file(root), Delivery::MountSign::Kind::anything,
          "missing; is the disk mounted, and was quarrow init run?"};
}

// For a mail server, which keeps the message.
int refuse_locked(const std::string& note) {
  return refuse("4.2.1", note + "; try again later", EX_TEMPFAIL);
}

int status_of(const std::string& user, const Report& report) {
  if (report.user_is_locked) return refuse_locked(report.note);
  if (!report.note.empty()) complain(user, report.note, EX_OK);
  if (!report.journal_fault.empty())
    complain(user, "not noted in the journal: " + report.journal_fault, EX_OK);
  switch (report.status) {
    case Report::Status::delivered:
    case Report::Status::discarded:
      return EX_OK;
    case Report::Status::rejected:
      return refuse("5.7.1", report.reject_text, EX_NOPERM);
    case Report::Status::temporary_failure:
      break;
  }
  return EX_TEMPFAIL;
}

int deliver_to(const DeliveryOptions& options, const std::string& user, std::string folder) {
  MessageSpool spool;
  const Fault fault = spool.read(STDIN_FILENO, options.max_size);
  if (fault && fault.status == EX_DATAERR)
    return refuse("5.3.4", "the message is " + fault.reason, EX_NOPERM);
  if (fault) return complain("standard input", fault);
  if (const Fault no_owner = become_owner_of(folder)) return complain(folder, no_owner);
  const std::string recipient = recipient_of(options, user);
  const auto trace = Delivery::trace_headers(spool.bytes(), {sender_of(options), recipient});
  if (trace.is_loop)
    return refuse("5.4.6", "mail loop: delivered to " + recipient + " before", EX_NOPERM);
  Delivery::prepare_for_message(spool.bytes());
  Delivery::EvaluatorLimits limits;
  limits.time = std::chrono::seconds(options.evaluation_seconds);
  limits.made_ahead = false;  // there is one message only
  Evaluator evaluator(limits);
  const auto evaluate = [&evaluator](int message, std::uint64_t size, std::time_t received,
                                     const std::string& script) {
    auto evaluation = evaluator.evaluate(message, size, received, script);
    evaluator.dismiss();
    put_off_requests_to_end();
    return evaluation;
  };
  const Delivery::MessageFile message{spool.fd(), spool.bytes().size(), trace.lines};
  const std::string mailbox = MessageFilters::imap_mailbox_name(options.folder);
  const Delivery::Recipient owner{folder, mailbox, options.folder_dots, options.keeps_journal};
  return status_of(
      user, Delivery::deliver(owner, message, std::time(nullptr), Delivery::host_name(), evaluate));
}

int deliver(const Settings& settings, const DeliveryOptions& options) {
  if (!take_up_standard_descriptors())
    return complain("/dev/null", std::strerror(errno), EX_TEMPFAIL);
  exit_on_signals();
  if (options.require_landlock && !Delivery::has_landlock())
    return complain("kernel", "offers no Landlock, which --require-landlock asks for", EX_TEMPFAIL);
  const std::string user = user_of(options);
  if (user.empty())
    return complain("user", "not named in full; give -d alice@example.org, or USER and DOMAIN",
                    EX_TEMPFAIL);
  mailuser_set_root(settings.root);
  const auto lookup = Delivery::look_up_recipient(
      user, mount_sign(settings.root), options.recipient_delimiter, settings.address_case);
  switch (lookup.result) {
    case RecipientLookup::Result::found:
      return lookup.is_locked ? refuse_locked(Delivery::locked_note)
                              : deliver_to(options, user, lookup.folder);
    case RecipientLookup::Result::unknown:
      return refuse("5.1.1", "<" + user + "> user unknown", EX_NOUSER);
    case RecipientLookup::Result::unavailable:
      break;
  }
  return complain(lookup.object, lookup.reason, EX_TEMPFAIL);
}

int deliver_or_try_again(const Settings& settings, const DeliveryOptions& options) {
  try {
    return deliver(settings, options);
  } catch (const std::exception& error) {
    return complain("delivery", error.what(), EX_TEMPFAIL);
  } catch (...) {
    return EX_TEMPFAIL;
  }
}

}  // namespace

Run declare_deliver(CLI::App& app) {
  const auto options = std::make_shared<DeliveryOptions>();
  add_option(app, "-d", options->user, "The user whose mail it is; $USER@$DOMAIN unless given")
      .type_name("USER");
  add_option(app, "-f", options->sender, "The sender, for Return-Path; $SENDER unless given")
      .type_name("SENDER");
  add_option(app, "-a", options->original_recipient, "The original recipient").type_name("ADDRESS");
  add_option(app, "-r", options->final_recipient,
             "The final recipient, for Delivered-To; the original one or $RECIPIENT unless given")
      .type_name("ADDRESS");
  add_option(app, "-m", options->folder, "The folder that takes the place of the inbox")
      .type_name("FOLDER");
  add_option(app, "--recipient-delimiter", options->recipient_delimiter,
             "Characters of which each begins the extension of an address; none if empty")
      .type_name("CHARS")
      .check(Delivery::delimiter_fault)
      .capture_default_str();
  add_folder_dots_option(
      app, options->folder_dots,
      "Folders with a dot in the name: the inbox in their place, or as Dovecot's "
      "plugin listescape spells them");
  add_option(app, "--max-size", options->max_size, "The largest message in bytes")
      .type_name("N")
      .in_range(1, std::uint64_t{1} << 40)
      .capture_default_str();
  add_option(app, "--evaluation-time", options->evaluation_seconds,
             "Seconds that rules may take over a message")
      .type_name("N")
      .in_range(1, 600)
      .capture_default_str();
  add_flag(app, "--require-landlock", options->require_landlock,
           "Deliver nothing where the kernel can't keep the evaluation from files");
  add_flag(app, "--journal", options->keeps_journal,
           "Note in the user's folder what is decided, for explain and stats");
  add_flag(app, "-e", options->report_by_status,
           "Report a rejection by the exit status; this is done in any case");
  return [options](const Settings& settings) { return deliver_or_try_again(settings, *options); };
}

}  // namespace Quarrow::Command
