// quarrow explain: why a message goes where it goes.
#include <sysexits.h>

#include <iostream>
#include <memory>
#include <optional>

#include "administration/loaded_rules.h"
#include "administration/users.h"
#include "apps/quarrow/commands/command.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/received_option.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/explanation_output.h"
#include "apps/quarrow/match_report.h"
#include "apps/quarrow/missing_script.h"
#include "apps/quarrow/past_deliveries.h"
#include "delivery/folder_name.h"
#include "delivery/message_id.h"
#include "message_filters/mailbox_name.h"
#include "message_filters/user_files.h"
#include "refiling/mail_folders.h"
#include "trial/explanation.h"
#include "trial/message_search.h"

namespace Quarrow::Command {
namespace {

using Delivery::Evaluation;
using MessageFilters::FilterList__;

struct ExplainOptions {
  std::string user;
  std::string message;  // empty: the one with the identifier
  std::string message_id;
  std::string folder = "Inbox";
  std::string log;                      // of quarrow-lmtpd; empty: none
  std::optional<std::string> received;  // none: as the message says
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  bool json = false;
};

// What is known of the time when the message was delivered.
struct Past {
  std::vector<PastDelivery> deliveries;
  int status = EX_OK;  // other than that after a complaint
};

Past past_of(const ExplainOptions& options, const EmailAddress& user,
             const std::string& message_id) {
  Past past;
  UserJournal journal;
  if (const auto refusal = read_user_journal(user, journal)) past.status = complain(refusal);
  if (!journal.fault.empty())
    past.status = complain(in_folder(Administration::user_folder(user), journal_name),
                           "can't be read: " + journal.fault, EX_NOINPUT);
  past.deliveries = deliveries_in(journal, message_id);
  if (options.log.empty()) return past;
  if (const auto fault =
          add_logged_deliveries(options.log, user.address(), message_id, past.deliveries))
    past.status = complain(options.log, fault);
  return past;
}

// For a message that is not found: what its identifier alone tells. Gives `status`.
int explain_past(const ExplainOptions& options, const EmailAddress& user, int status) {
  const std::string id = Trial::message_id_of(options.message_id);
  if (id.empty()) return status;
  const Past past = past_of(options, user, id.substr(0, Delivery::longest_message_id));
  if (options.json && !past.deliveries.empty())
    std::cout << deliveries_json(past.deliveries);
  else
    std::cout << past_deliveries_text(past.deliveries);
  return status;
}

// Finds the message by its identifier in `source`; gives the exit status.
int search(const ExplainOptions& options, const EmailAddress& user, Trial::IsolatedRuns& runs,
           Trial::MailSource& source) {
  const std::string id = Trial::message_id_of(options.message_id);
  if (id.empty())
    return complain("--message-id", "names no message; give it as '<1234@example.org>'", EX_USAGE);
  const auto folder = Delivery::maildir_folder(MessageFilters::imap_mailbox_name(options.folder),
                                               options.folder_dots);
  if (!folder) return complain(options.folder, "can't be a folder of the user's mail", EX_USAGE);
  const std::string maildir = Administration::user_folder(user) + "/Maildir";
  const Refiling::MailFolders folders(maildir);
  if (folders.is_missing(options.folder, options.folder_dots))
    return complain("--folder " + options.folder,
                    "there is no such folder" + folders.question(options.folder), EX_NOINPUT);
  const auto found =
      Trial::find_message(folder->empty() ? maildir : maildir + '/' + *folder, id, runs);
  int status = EX_NOINPUT;
  for (const auto& failure : found.failures) status = complain(failure);
  if (found.sources.empty())
    return complain(id, "no message in the folder " + options.folder + " has this Message-ID",
                    status);
  source = found.sources.front();
  return EX_OK;
}

// Finds the message in the arguments; gives the exit status.
int find_source(const ExplainOptions& options, const EmailAddress& user, Trial::IsolatedRuns& runs,
                Trial::MailSource& source) {
  if (options.message.empty()) return search(options, user, runs, source);
  const auto found = Trial::find_mail({options.message});
  for (const auto& failure : found.failures) return complain(failure);
  if (found.sources.size() != 1)
    return complain(options.message, "no single message; name one of its files", EX_USAGE);
  source = found.sources.front();
  return EX_OK;
}

int status_of(const Trial::Explanation& explanation, const std::string& user) {
  const Evaluation& delivered = explanation.by_script;
  if (delivered.outcome == Evaluation::Outcome::failed)
    return complain(user, "not evaluated: " + delivered.reason, EX_TEMPFAIL);
  if (!explanation.agrees)
    return complain(
        user,
        "delivery runs a script that does not do what these filters say, and the place "
        "is the script's; adding or removing a filter with --replace-script writes it anew",
        EX_DATAERR);
  return Trial::has_failed(delivered) ? EX_DATAERR : EX_OK;
}

int explain_source(const ExplainOptions& options, const EmailAddress& user,
                   const FilterList__& list, Trial::IsolatedRuns& runs,
                   const Trial::MailSource& source, std::optional<std::time_t> received) {
  Trial::MailContents contents;
  if (const auto failure = contents.open(source)) return complain(*failure);
  const auto messages = messages_of(source, contents);
  if (messages.size() != 1)
    return complain(source.path,
                    "holds " + std::to_string(messages.size()) +
                        " messages; explain takes one, in a file of its own",
                    EX_USAGE);
  const std::string script = Administration::rules_script(user.address());
  const auto explanation =
      Trial::explain(list, script, messages.front(), received.value_or(contents.time()), runs);
  const auto outcome = explanation.by_script.outcome;
  if (outcome == Evaluation::Outcome::no_script || outcome == Evaluation::Outcome::bad_script)
    return complain_of_script(options.user, script);
  const Past past = past_of(options, user, Delivery::recorded_message_id(messages.front().bytes));
  std::cout << (options.json ? explanation_json : explanation_text)(
      messages.front().name, past.deliveries, explanation, options.folder_dots);
  const int status = status_of(explanation, options.user);
  return status == EX_OK ? past.status : status;
}

int explain(const Settings& settings, const ExplainOptions& options) {
  std::optional<std::time_t> received;
  if (const int status = read_received(options.received, received)) return status;
  EmailAddress user;
  if (const auto refusal = find_user(settings, options.user, user))
    return complain(settings, refusal);
  boost::shared_ptr<FilterList__> list;
  if (const auto refusal = Administration::load_rules(user, list)) return complain(refusal);
  Trial::IsolatedRuns runs;
  Trial::MailSource source;
  const int status = find_source(options, user, runs, source);
  if (status != EX_OK) return explain_past(options, user, status);
  return explain_source(options, user, *list, runs, source, received);
}

}  // namespace

Run declare_explain(CLI::App& app) {
  const auto options = std::make_shared<ExplainOptions>();
  add_user_option(app, options->user);
  const Option message =
      add_option(app, "message", options->message, "The message's file; - is standard input")
          .type_name("");
  const Option id = add_option(app, "--message-id", options->message_id,
                               "The message with this Message-ID in the user's mail")
                        .type_name("ID");
  add_option(app, "--folder", options->folder, "The folder that --message-id looks in")
      .type_name("FOLDER")
      .capture_default_str()
      .needs(id);
  message.excludes(id);
  add_option(app, "--log", options->log, "A log of quarrow-lmtpd, to look for the delivery in")
      .type_name("FILE");
  add_received_option(app, options->received);
  add_folder_dots_option(app, options->folder_dots,
                         "Folders with a dot in the name: as delivery is told");
  add_flag(app, "--json", options->json, "As JSON");
  return [options](const Settings& settings) {
    if (options->message.empty() && options->message_id.empty())
      return complain("explain", "name a message's file, or give --message-id", EX_USAGE);
    return explain(settings, *options);
  };
}

}  // namespace Quarrow::Command
