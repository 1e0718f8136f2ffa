// The output of quarrow match while it runs and at its end, and its exit status.
#ifndef QUARROW_APPS_QUARROW_MATCH_REPORT_H_
#define QUARROW_APPS_QUARROW_MATCH_REPORT_H_

#include <cstdint>
#include <string>

#include "apps/quarrow/progress_bar.h"
#include "quarrow/delivery/folder_dots.h"
#include "trial/mail_sources.h"
#include "trial/run.h"

namespace Quarrow::Command {

// Complains about `failure`; gives the exit status for it.
int complain(const Trial::SourceFailure& failure);

// Results go to standard output, complaints and a progress bar to standard error.
class MatchReport : public Trial::Observer {
 public:
  enum class Form {
    text,      // a line for each message, and a table at the end
    raw_text,  // the same with the library's own texts
    json       // an object a line for each message
  };

  // About messages of `total_size` bytes in all, which are delivered with `dots`. `status` is the
  // exit status so far.
  MatchReport(Form form, std::uint64_t total_size, int status,
              Delivery::FolderDots dots = Delivery::FolderDots::inbox);

  void on_result(const std::string& name, const Delivery::Evaluation& evaluation) override;
  void on_not_evaluated(const std::string& name, const std::string& reason) override;
  void on_failure(const Trial::SourceFailure& failure) override;
  void on_progress(std::uint64_t bytes) override;

  // Ends the report of a run that came to `result`; gives the exit status: try again when a message
  // was not evaluated, or else that of the last failure, or `status` as it was given.
  int finish(const Trial::RunResult& result);

 private:
  const Form form_;
  int status_;
  ProgressBar bar_;
  const bool shows_bar_;
  const Delivery::FolderDots dots_;
};

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_MATCH_REPORT_H_
