// quarrow match: what a user's script does with messages.
#include <quarrow/evaluation.h>
#include <sysexits.h>
#include <unistd.h>
#include <zvellparser.h>
#include <zvelluser.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>

#include "administration/rules_transaction.h"
#include "apps/quarrow/commands/command.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/files.h"
#include "apps/quarrow/logged_evaluator.h"
#include "apps/quarrow/match_output.h"
#include "apps/quarrow/progress_bar.h"
#include "apps/quarrow/tally_table.h"
#include "delivery/helper_process.h"
#include "delivery/one_processor.h"
#include "trial/mail_sources.h"
#include "trial/message_evaluator.h"
#include "trial/tally.h"

namespace Quarrow::Command {

using namespace Trial;

using namespace Administration;
namespace {

using Delivery::Evaluation;

struct Options {
  std::string user;
  std::vector<std::string> messages;
  bool json = false;
  bool log = false;
};

// Says why the script at `path` can't be run.
int no_script(const std::string& user, const std::string& path) {
  if (access(path.c_str(), R_OK) != 0 && errno != ENOENT)
    return complain(path, std::string("can't be read: ") + std::strerror(errno),
                    file_status(errno));
  if (!exists(path))
    return complain(
        user, "no rules, so that every message is kept; add some with quarrow filter add " + user,
        EX_NOINPUT);
  return complain(path,
                  "damaged script: empty or not valid; adding or removing a filter writes it anew, "
                  "and --log says more",
                  EX_DATAERR);
}

// A process that evaluates one message has no more loaded than that one needs. A stream can't be
// looked at ahead; what can't be opened is complained about in its turn.
void prepare_for(const std::vector<MessageFile>& files) {
  if (files.size() != 1) return;
  const std::string& path = files.front().path;
  std::error_code error;
  FileContents contents;
  if (path == "-" || !std::filesystem::is_regular_file(path, error) || contents.open(path)) return;
  if (contents.bytes().substr(0, 5) == "From ") return;  // an mbox file, it seems, of many
  Delivery::prepare_for_message(contents.bytes());
}

std::uint64_t total_size(const std::vector<MessageFile>& files) {
  std::uint64_t total = 0;
  for (const auto& file : files) total += file.size;
  return total;
}

// One run over all messages.
class MatchRun {
 public:
  // `status` is the exit status so far.
  MatchRun(const Options& options, const std::vector<MessageFile>& files, int status,
           MessageEvaluator& evaluator)
      : options_(options),
        files_(files),
        status_(status),
        evaluator_(evaluator),
        bar_(std::cerr, total_size(files_), ProgressBar::Clock::now()) {}

  int run() {
    for (const auto& file : files_) evaluate(file);
    bar_.finish();
    if (!options_.json) {
      std::cout << '\n';
      print_table(tally_, std::cout);
    }
    return all_evaluated_ ? status_ : EX_TEMPFAIL;
  }

 private:
  void evaluate(const MessageFile& file) {
    FileContents contents;
    if (const Fault fault = contents.open(file.path)) {
      bar_.finish();  // the complaint takes its line
      status_ = complain(file.path, fault);
      return;
    }
    for (const auto& message : messages_in(file.path, contents)) evaluate(message, contents.time());
  }

  void evaluate(const Message& message, std::time_t received) {
    const Evaluation evaluation = evaluator_.evaluate(message, received);
    if (evaluation.outcome == Evaluation::Outcome::done)
      report(message.name, evaluation);
    else
      not_evaluated(message.name, evaluation.reason);
    if (show_bar_) bar_.advance(message.bytes.size(), ProgressBar::Clock::now());
  }

  void report(const std::string& name, const Evaluation& evaluation) {
    const auto& result = evaluation.result;
    if (result.error != SieveMatchResult::NONE) status_ = EX_DATAERR;
    tally_.add(result);
    std::cout << (options_.json ? result_json(name, result, evaluation.rule)
                                : result_line(name, result))
              << '\n';
  }

  void not_evaluated(const std::string& name, const std::string& reason) {
    all_evaluated_ = false;
    tally_.add_not_evaluated();
    bar_.finish();
    complain(name, "not evaluated: " + reason, EX_TEMPFAIL);
  }

  const Options& options_;
  const std::vector<MessageFile>& files_;
  int status_;
  MessageEvaluator& evaluator_;
  bool all_evaluated_ = true;
  ProgressBar bar_;
  // lines on the terminal show the progress themselves, and a bar would run into them
  const bool show_bar_ = isatty(STDERR_FILENO) == 1 && isatty(STDOUT_FILENO) == 0;
  Tally tally_;
};

int match(const Settings& settings, const Options& options) {
  const EmailAddress address = user_address(options.user);
  if (address.isNull()) return EX_NOUSER;
  mailuser_set_root(settings.root);
  const std::string script = rules_script(address.address());
  int status = EX_OK;
  const auto files = message_files(options.messages, status);
  if (!options.log) {
    prepare_for(files);
    Delivery::stay_on_one_processor();
  }
  const auto evaluator = options.log ? logged_evaluator(script) : isolated_evaluator(script);
  if (!evaluator) return no_script(options.user, script);
  return MatchRun(options, files, status, *evaluator).run();
}

}  // namespace

Run declare_match(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  add_user_option(app, options->user);
  app.add_option("messages", options->messages,
                 "Message files, mbox files, Maildir folders; - is standard input")
      ->type_name("")
      ->required();
  app.add_flag("--json", options->json, "One JSON object a line, and no table");
  app.add_flag("--log", options->log,
               "Evaluate in this process, unprotected, and write the interpreter's log to standard "
               "error");
  return [options](const Settings& settings) { return match(settings, *options); };
}

}  // namespace Quarrow::Command
