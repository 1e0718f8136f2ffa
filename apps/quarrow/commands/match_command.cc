// quarrow match: what a user's script does with messages.
#include <fcntl.h>
#include <sysexits.h>
#include <zvellparser.h>
#include <CLI/CLI.hpp>

#include <cerrno>
#include <ctime>
#include <memory>
#include <optional>

#include "administration/rules_transaction.h"
#include "apps/quarrow/commands/command.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/logged_evaluator.h"
#include "apps/quarrow/match_report.h"
#include "apps/quarrow/time_text.h"
#include "delivery/one_processor.h"
#include "message_filters/user_files.h"
#include "system/descriptor.h"
#include "system/exists.h"
#include "system/processors.h"
#include "system/regular_file.h"
#include "trial/mail_sources.h"
#include "trial/message_evaluator.h"
#include "trial/parallel_run.h"
#include "trial/preparation.h"
#include "trial/run.h"

namespace Quarrow::Command {
namespace {

// Each takes a descriptor of the first process, which may have no more than 1024.
constexpr int most_jobs = 256;

struct Options {
  std::string user;
  std::vector<std::string> messages;
  std::optional<std::string> received;  // none: as the messages say
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  std::optional<std::size_t> jobs;  // none: as many as the work is worth
  bool json = false;
  bool log = false;
};

// Says why the script at `path` can't be run.
int no_script(const std::string& user, const std::string& path) {
  const Descriptor script(open_regular(path, O_RDONLY));
  const int error = script.get() < 0 ? errno : 0;
  if (error == ENOENT && exists(rules_document_of(path)))
    return complain(path, "missing beside the filters; adding or removing a filter writes it anew",
                    EX_DATAERR);
  if (error == ENOENT)
    return complain(
        user, "no rules, so that every message is kept; add some with quarrow filter add " + user,
        EX_NOINPUT);
  if (error != 0)
    return complain(path, "can't be read: " + reason_for_no_file(error), file_status(error));
  return complain(path,
                  "damaged script: empty or not valid; adding or removing a filter with "
                  "--replace-script writes it anew, and --log says more",
                  EX_DATAERR);
}

// How many processes are to share the messages; 1 for a run in this one.
std::size_t jobs_for(const Options& options, const std::vector<Trial::MailSource>& sources) {
  if (options.log) return 1;
  if (options.jobs.value_or(0) > 0) return *options.jobs;
  return options.jobs || Trial::is_long_work(sources) ? usable_processors().size() : 1;
}

// The evaluator of the script at `path`; null when there is no script that can be run.
std::unique_ptr<Trial::MessageEvaluator> make_evaluator(
    const Options& options, const std::string& path, const std::vector<Trial::MailSource>& sources,
    std::size_t jobs) {
  if (options.log) return logged_evaluator(path);
  Trial::prepare_for(sources);
  if (jobs <= 1) Delivery::stay_on_one_processor();
  return Trial::isolated_evaluator(path);
}

MatchReport::Form form_of(const Options& options) {
  if (options.json) return MatchReport::Form::json;
  return options.log ? MatchReport::Form::raw_text : MatchReport::Form::text;
}

int match(const Settings& settings, const Options& options) {
  const auto received = options.received ? time_of(*options.received) : std::nullopt;
  if (options.received && !received)
    return complain(*options.received,
                    "not a time; write it as 2026-05-04 or as \"2026-05-04 12:00\"", EX_USAGE);
  EmailAddress address;
  if (const auto refusal = find_user(settings, options.user, address))
    return complain(settings, refusal);
  const auto [sources, failures] = Trial::find_mail(options.messages);
  int status = EX_OK;
  for (const auto& failure : failures) status = complain(failure);
  const std::string script = Administration::rules_script(address.address());
  const std::size_t jobs = jobs_for(options, sources);
  const auto evaluator = make_evaluator(options, script, sources, jobs);
  if (!evaluator) return no_script(options.user, script);
  MatchReport report(form_of(options), Trial::total_size(sources), status, options.folder_dots);
  const Trial::RunSettings how = {received, options.folder_dots};
  if (jobs <= 1) return report.finish(Trial::run(sources, *evaluator, report, how));
  const auto make = [&] { return Trial::isolated_evaluator(script); };
  return report.finish(Trial::run_in_parallel(sources, *evaluator, make, jobs, report, how));
}

}  // namespace

Run declare_match(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  add_user_option(app, options->user);
  app.add_option("messages", options->messages,
                 "Message files, mbox files, Maildir folders; - is standard input")
      ->type_name("")
      ->required();
  app.add_option("--received", options->received,
                 "When the messages came, such as 2026-05-04 or \"2026-05-04 12:00\"")
      ->type_name("TIME");
  add_folder_dots_option(app, options->folder_dots,
                         "Folders with a dot in the name: as delivery is told");
  app.add_flag("--json", options->json, "One JSON object a line, and no table");
  CLI::Option* const jobs =
      app.add_option("-j,--jobs", options->jobs,
                     "How many processes share the messages; 0 for one on each processor")
          ->type_name("N")
          ->check(CLI::Range(0, most_jobs).description(""));
  app.add_flag("--log", options->log,
               "Evaluate in this process, unprotected, and write the interpreter's log to standard "
               "error")
      ->excludes(jobs);
  return [options](const Settings& settings) { return match(settings, *options); };
}

}  // namespace Quarrow::Command
