// quarrow match: what a user's script does with messages.
#include <sysexits.h>
#include <zvellparser.h>

#include <ctime>
#include <memory>
#include <optional>

#include "administration/root_setup.h"
#include "administration/rules_transaction.h"
#include "apps/quarrow/commands/command.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/jobs_option.h"
#include "apps/quarrow/commands/received_option.h"
#include "apps/quarrow/commands/what_if.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/logged_evaluator.h"
#include "apps/quarrow/match_report.h"
#include "apps/quarrow/missing_script.h"
#include "delivery/one_processor.h"
#include "trial/mail_sources.h"
#include "trial/message_evaluator.h"
#include "trial/parallel_run.h"
#include "trial/preparation.h"
#include "trial/run.h"

namespace Quarrow::Command {
namespace {

struct MatchOptions {
  std::string user;
  std::vector<std::string> messages;
  std::optional<std::string> received;  // none: as the messages say
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  std::optional<std::size_t> jobs;  // none: as many as the work is worth
  bool json = false;
  bool log = false;
  WhatIfOptions what_if;
};

// The evaluator of the script at `path`; null when there is no script that can be run.
std::unique_ptr<Trial::MessageEvaluator> make_evaluator(
    const MatchOptions& options, const std::string& path,
    const std::vector<Trial::MailSource>& sources, std::size_t jobs) {
  if (options.log) return logged_evaluator(path);
  Trial::prepare_for(sources);
  if (jobs <= 1) Delivery::stay_on_one_processor();
  return Trial::isolated_evaluator(path);
}

MatchReport::Form form_of(const MatchOptions& options) {
  if (options.json) return MatchReport::Form::json;
  return options.log ? MatchReport::Form::raw_text : MatchReport::Form::text;
}

int match(const Settings& settings, const MatchOptions& options) {
  std::optional<std::time_t> received;
  if (const int fault = read_received(options.received, received)) return fault;
  EmailAddress address;
  if (const auto refusal = find_user(settings, options.user, address))
    return complain(settings, refusal);
  const auto [sources, failures] = Trial::find_mail(options.messages);
  int status = EX_OK;
  for (const auto& failure : failures) status = complain(failure);
  const Trial::RunSettings how = {received, options.folder_dots};
  if (options.what_if.is_asked()) {
    if (const auto refusal = Administration::open_configuration(settings.root))
      return complain(settings, refusal);
    return compare_rules(options.what_if, address, sources, how, options.json, status);
  }
  const std::string script = Administration::rules_script(address.address());
  const std::size_t jobs = options.log ? 1 : jobs_for(options.jobs, sources);
  const auto evaluator = make_evaluator(options, script, sources, jobs);
  if (!evaluator) return complain_of_script(options.user, script);
  MatchReport report(form_of(options), Trial::total_size(sources), status, options.folder_dots);
  if (jobs <= 1) return report.finish(Trial::run(sources, *evaluator, report, how));
  const auto make = [&] { return Trial::isolated_evaluator(script); };
  return report.finish(Trial::run_in_parallel(sources, *evaluator, make, jobs, report, how));
}

}  // namespace

Run declare_match(CLI::App& app) {
  const auto options = std::make_shared<MatchOptions>();
  add_user_option(app, options->user);
  add_option(app, "messages", options->messages,
             "Message files, mbox files, Maildir folders; - is standard input")
      .type_name("")
      .required();
  add_received_option(app, options->received);
  add_folder_dots_option(app, options->folder_dots,
                         "Folders with a dot in the name: as delivery is told");
  add_flag(app, "--json", options->json, "One JSON object a line, and no table");
  const Option jobs = add_jobs_option(app, options->jobs);
  const Option log =
      add_flag(app, "--log", options->log,
               "Evaluate in this process, unprotected, and write the interpreter's log to standard "
               "error")
          .excludes(jobs);
  for (const Option asking : add_what_if_options(app, options->what_if))
    asking.excludes(jobs).excludes(log);
  return [options](const Settings& settings) { return match(settings, *options); };
}

}  // namespace Quarrow::Command
