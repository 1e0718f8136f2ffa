// Lines, JSON, the bar, the table and the exit status.
#include "apps/quarrow/match_report.h"

#include <quarrow/evaluation.h>
#include <sysexits.h>
#include <unistd.h>

#include <iostream>

#include "apps/quarrow/complaint.h"
#include "apps/quarrow/match_output.h"
#include "apps/quarrow/tally_table.h"

namespace Quarrow::Command {
namespace {

// Lines on a terminal show the progress themselves, and a bar would run into them.
bool bar_is_seen() { return isatty(STDERR_FILENO) == 1 && isatty(STDOUT_FILENO) == 0; }

std::string line_for(MatchReport::Form form, const std::string& name,
                     const Delivery::Evaluation& evaluation, Delivery::FolderDots dots) {
  switch (form) {
    case MatchReport::Form::json:
      return result_json(name, evaluation, dots);
    case MatchReport::Form::raw_text:
      return raw_result_line(name, evaluation.result);
    case MatchReport::Form::text:
      break;
  }
  return result_line(name, evaluation, dots);
}

}  // namespace

int complain(const Trial::SourceFailure& failure) {
  const bool unreadable = failure.kind == Trial::SourceFailure::Kind::cannot_read;
  return complain(failure.object, failure.reason, unreadable ? EX_NOINPUT : EX_DATAERR);
}

MatchReport::MatchReport(Form form, std::uint64_t total_size, int status, Delivery::FolderDots dots)
    : form_(form),
      status_(status),
      bar_(std::cerr, total_size, ProgressBar::Clock::now()),
      shows_bar_(bar_is_seen()),
      dots_(dots) {}

void MatchReport::on_result(const std::string& name, const Delivery::Evaluation& evaluation) {
  if (evaluation.result.error != SieveMatchResult::NONE) status_ = EX_DATAERR;
  std::cout << line_for(form_, name, evaluation, dots_) << '\n';
}

void MatchReport::on_not_evaluated(const std::string& name, const std::string& reason) {
  bar_.finish();  // the complaint takes its line
  complain(name, "not evaluated: " + reason, EX_TEMPFAIL);
}

void MatchReport::on_failure(const Trial::SourceFailure& failure) {
  bar_.finish();
  status_ = complain(failure);
}

void MatchReport::on_progress(std::uint64_t bytes) {
  if (shows_bar_) bar_.advance(bytes, ProgressBar::Clock::now());
}

int MatchReport::finish(const Trial::RunResult& result) {
  bar_.finish();
  if (form_ != Form::json) {
    std::cout << '\n';
    print_table(result.tally, std::cout);
  }
  return result.tally.not_evaluated == 0 ? status_ : EX_TEMPFAIL;
}

}  // namespace Quarrow::Command
