// quarrow match: what a user's script does with messages.
#include <quarrow/evaluation.h>
#include <sysexits.h>
#include <unistd.h>
#include <zvellparser.h>
#include <zvelluser.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>

#include "apps/quarrow/command.h"
#include "apps/quarrow/files.h"
#include "apps/quarrow/filter_command.h"
#include "apps/quarrow/match_output.h"
#include "apps/quarrow/message_files.h"
#include "apps/quarrow/progress_bar.h"
#include "apps/quarrow/report.h"
#include "apps/quarrow/tally.h"
#include "apps/quarrow/user_rules.h"

namespace command {
namespace {

using Quarrow::SieveLog;
using Quarrow::SieveMatch;
using Quarrow::SieveMatchResult;

struct Options {
  std::string user;
  std::vector<std::string> messages;
  bool json = false;
  bool log = false;
};

// The evaluation's log on standard error, a line per entry.
class ErrorStreamLog : public SieveLog {
 public:
  void Error(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    va_list arguments;
    va_start(arguments, format);
    write("error", format, arguments);
    va_end(arguments);
  }
  void Warning(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    va_list arguments;
    va_start(arguments, format);
    write("warning", format, arguments);
    va_end(arguments);
  }
  void SetComponent(const char* name) override { component_ = name; }
  void Debug(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    va_list arguments;
    va_start(arguments, format);
    write("debug", format, arguments);
    va_end(arguments);
  }

 private:
  void write(const char* level, const char* format, va_list arguments) {
    char text[4096];  // longer entries are cut
    (void)std::vsnprintf(text, sizeof text, format, arguments);
    complain(component_, std::string(level) + ": " + text, EX_OK);
  }

  std::string component_;
};

// Says why there is no matcher for the script at `path`.
int no_matcher(const std::string& user, const std::string& path) {
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

std::uint64_t total_size(const std::vector<MessageFile>& files) {
  std::uint64_t total = 0;
  for (const auto& file : files) total += file.size;
  return total;
}

// One run over all messages, with one matcher.
class MatchRun {
 public:
  MatchRun(const Options& options, SieveMatch& matcher)
      : options_(options),
        matcher_(matcher),
        files_(message_files(options.messages, status_)),
        bar_(std::cerr, total_size(files_), ProgressBar::Clock::now()) {}

  int run() {
    for (const auto& file : files_) evaluate(file);
    bar_.finish();
    if (!options_.json) print_table();
    return status_;
  }

 private:
  void evaluate(const MessageFile& file) {
    FileContents contents;
    if (const Fault fault = contents.open(file.path)) {
      bar_.finish();  // the complaint takes its line
      status_ = complain(file.path, fault);
      return;
    }
    for (const auto& message : messages_in(file.path, contents.bytes()))
      evaluate(message, contents.time());
  }

  void evaluate(const Message& message, std::time_t received) {
    const auto parsed = MimePart::parse(message.bytes.data(), message.bytes.size());
    const auto result = matcher_.Match(parsed.get(), message.bytes.size(), received);
    if (result.error != SieveMatchResult::NONE) status_ = EX_DATAERR;
    tally_.add(result);
    if (show_bar_) bar_.advance(message.bytes.size(), ProgressBar::Clock::now());
    std::cout << (options_.json ? result_json(message.name, result)
                                : result_line(message.name, result))
              << '\n';
  }

  void print_table() {
    std::cout << '\n';
    tally_.print(std::cout);
  }

  const Options& options_;
  SieveMatch& matcher_;
  int status_ = EX_OK;  // before files_, whose making may set it
  const std::vector<MessageFile> files_;
  ProgressBar bar_;
  // lines on the terminal show the progress themselves, and a bar would run into them
  const bool show_bar_ = isatty(STDERR_FILENO) == 1 && isatty(STDOUT_FILENO) == 0;
  Tally tally_;
};

int match(const Settings& settings, const Options& options) {
  const EmailAddress address = user_address(options.user);
  if (address.isNull()) return EX_NOUSER;
  mailuser_set_root(settings.root);
  SieveLog* const log = options.log ? new ErrorStreamLog : nullptr;  // the matcher's from here on
  const std::unique_ptr<SieveMatch> matcher(SieveMatch::Create(address, log));
  if (!matcher) return no_matcher(options.user, rules_script(address.address()));
  return MatchRun(options, *matcher).run();
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
  app.add_flag("--log", options->log, "Write the interpreter's log to standard error");
  return [options](const Settings& settings) { return match(settings, *options); };
}

}  // namespace command
