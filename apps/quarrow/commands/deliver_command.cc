// quarrow deliver: a local delivery agent. Mail servers read its exit status; whatever is not known
// to be permanent is EX_TEMPFAIL, since they return a message to its sender for any other number.
#include <fcntl.h>
#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>
#include <zvellparser.h>
#include <zvelluser.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>

#include "apps/quarrow/commands/command.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/files.h"
#include "apps/quarrow/message_spool.h"
#include "delivery/helper_process.h"
#include "delivery/trace_headers.h"
#include "quarrow/delivery/evaluator.h"
#include "quarrow/delivery/mailbox_delivery.h"
#include "quarrow/delivery/maildir_store.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Delivery::Evaluator;
using Delivery::Report;

struct Options {
  std::optional<std::string> user;
  std::optional<std::string> sender;
  std::optional<std::string> original_recipient;
  std::optional<std::string> final_recipient;
  std::string folder;
  bool report_by_status = false;
};

// Ends that somebody else asks for, which wait while the message is being stored.
const int requests[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM,  SIGALRM,
                        SIGUSR1, SIGUSR2, SIGXCPU, SIGVTALRM};

// Ends that a defect brings about.
const int crashes[] = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS};

// Some mail servers take an end by a signal for a permanent failure.
extern "C" void end_with_temporary_failure(int) { _exit(EX_TEMPFAIL); }

void end_by_status_only() {
  struct sigaction action {};
  action.sa_handler = end_with_temporary_failure;
  for (const int signal : requests) (void)sigaction(signal, &action, nullptr);
  for (const int signal : crashes) (void)sigaction(signal, &action, nullptr);
  action.sa_handler = SIG_IGN;  // the call that fails tells
  for (const int signal : {SIGPIPE, SIGXFSZ}) (void)sigaction(signal, &action, nullptr);
}

// From here on the message goes to disk: an end now would leave litter, or a message in a folder
// that the mail server delivers once more.
void put_off_requests() {
  sigset_t set;
  (void)sigemptyset(&set);
  for (const int signal : requests) (void)sigaddset(&set, signal);
  (void)sigprocmask(SIG_BLOCK, &set, nullptr);
}

// Takes up the standard descriptors that are closed, so that no complaint ends in a message.
bool take_up_standard_descriptors() {
  int fd = 0;
  do {
    fd = open("/dev/null", O_RDWR);
  } while (fd >= 0 && fd <= STDERR_FILENO);
  return fd > STDERR_FILENO && close(fd) == 0;
}

std::optional<std::string> environment(const char* name) {
  const char* const value = std::getenv(name);
  if (value == nullptr) return std::nullopt;
  return value;
}

// Whose mail it is, as a mail address; empty when that is not said in full.
std::string user_of(const Options& options) {
  std::string user = options.user ? *options.user : environment("USER").value_or("");
  if (user.find('@') == std::string::npos) user += '@' + environment("DOMAIN").value_or("");
  return user.front() == '@' || user.back() == '@' ? "" : user;
}

// The sender as Return-Path has it: mail servers name the one of a bounce in several ways.
std::optional<std::string> sender_of(const Options& options) {
  auto sender = options.sender ? options.sender : environment("SENDER");
  if (!sender) return sender;
  if (sender->size() >= 2 && sender->front() == '<' && sender->back() == '>')
    sender = sender->substr(1, sender->size() - 2);
  return *sender == "MAILER-DAEMON" ? "" : sender;
}

std::string recipient_of(const Options& options, const std::string& user) {
  for (const auto& each : {options.final_recipient, options.original_recipient,
                           environment("RECIPIENT"), environment("ORIGINAL_RECIPIENT")})
    if (each && !each->empty()) return *each;
  return user;
}

// Writes what the mail server passes on to the sender, on one line: a status of RFC 3463 and a
// text.
int refuse(const std::string& status, const std::string& text, int exit_status) {
  std::cerr << status << ' ' << with_controls_as(' ', text) << '\n';
  return exit_status;
}

int unknown_user(const std::string& user) {
  return refuse("5.1.1", "<" + user + "> user unknown", EX_NOUSER);
}

// 0 when `folder` is there. That it is missing says something about the user only where the root is
// in use: else its disk is not mounted, and every user would be unknown.
int check_folder(const Settings& settings, const std::string& user, const std::string& folder) {
  struct stat status {};
  if (stat(folder.c_str(), &status) == 0)
    return S_ISDIR(status.st_mode) ? 0 : complain(folder, "not a folder", EX_TEMPFAIL);
  if (errno != ENOENT) return complain(folder, std::strerror(errno), EX_TEMPFAIL);
  const std::string configuration = configuration_file(settings.root);
  if (exists(configuration)) return unknown_user(user);
  return complain(configuration, "missing; is the disk mounted, and was quarrow init run?",
                  EX_TEMPFAIL);
}

int status_of(const std::string& user, const Report& report) {
  if (!report.note.empty()) complain(user, report.note, EX_OK);
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

std::string encoded_folder(const std::string& name) {
  const Buffer encoded =
      ZvellConv::fromUtf8("IMAP-mailbox-name", name.data(), name.size(), name.size());
  return {encoded.data(), encoded.size()};
}

int deliver_to(const Options& options, const std::string& user, const std::string& folder) {
  MessageSpool spool;
  if (const Fault fault = spool.read(STDIN_FILENO)) return complain("standard input", fault);
  const Delivery::Envelope envelope{sender_of(options), recipient_of(options, user)};
  const Delivery::Trace trace = Delivery::trace_of(spool.bytes(), envelope);
  if (trace.loop)
    return refuse("5.4.6", "mail loop: delivered to " + envelope.recipient + " before", EX_NOPERM);
  Delivery::prepare_for_message(spool.bytes());
  Evaluator evaluator;
  const auto evaluate = [&evaluator](int message, std::uint64_t size, std::time_t received,
                                     const std::string& script) {
    auto evaluation = evaluator.evaluate(message, size, received, script);
    evaluator.dismiss();
    put_off_requests();
    return evaluation;
  };
  const Delivery::MessageFile message{spool.fd(), spool.bytes().size(), trace.added_headers};
  return status_of(user, Delivery::deliver({folder, encoded_folder(options.folder)}, message,
                                           std::time(nullptr), Delivery::host_name(), evaluate));
}

int deliver(const Settings& settings, const Options& options) {
  if (!take_up_standard_descriptors())
    return complain("/dev/null", std::strerror(errno), EX_TEMPFAIL);
  end_by_status_only();
  const std::string user = user_of(options);
  if (user.empty())
    return complain("user", "not named in full; give -d alice@example.org, or USER and DOMAIN",
                    EX_TEMPFAIL);
  mailuser_set_root(settings.root);
  const EmailAddress address(user);
  const std::string folder = ZvMailUserId(MAILBOX_USER, address.address()).prefpath();
  if (folder.empty()) return unknown_user(user);  // no folder can have that name
  if (const int status = check_folder(settings, user, folder)) return status;
  return deliver_to(options, user, folder);
}

int deliver_or_try_again(const Settings& settings, const Options& options) {
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
  const auto options = std::make_shared<Options>();
  app.add_option("-d", options->user, "Whose mail it is; $USER@$DOMAIN unless given")
      ->type_name("USER");
  app.add_option("-f", options->sender, "Who sent it, for Return-Path; $SENDER unless given")
      ->type_name("SENDER");
  app.add_option("-a", options->original_recipient, "Whom it was sent to")->type_name("ADDRESS");
  app.add_option("-r", options->final_recipient,
                 "Whom it is delivered to, for Delivered-To; that of -a or $RECIPIENT unless given")
      ->type_name("ADDRESS");
  app.add_option("-m", options->folder, "Folder for what the rules leave in the inbox")
      ->type_name("FOLDER");
  app.add_flag("-e", options->report_by_status,
               "Report a rejection by the exit status, which is done in any case");
  return [options](const Settings& settings) { return deliver_or_try_again(settings, *options); };
}

}  // namespace Quarrow::Command
