// A run of a user's script over all messages of some sources. Nothing is done to the messages.
#ifndef QUARROW_TRIAL_RUN_H_
#define QUARROW_TRIAL_RUN_H_

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "quarrow/delivery/evaluation_outcome.h"
#include "quarrow/delivery/folder_dots.h"
#include "trial/mail_sources.h"
#include "trial/message_evaluator.h"
#include "trial/tally.h"

namespace Quarrow::Trial {

// Gets to know what a run comes to, while it goes on: about the sources in their order, and about
// the messages of each in theirs.
class Observer {
 public:
  virtual ~Observer() = default;

  // The message called `name` was evaluated; the result in `evaluation` may be an error.
  virtual void on_result(const std::string& name, const Delivery::Evaluation& evaluation) = 0;

  // The message called `name` was not evaluated. The reason is for a person.
  virtual void on_not_evaluated(const std::string& name, const std::string& reason) = 0;

  // A source can't be read; the run goes on with the next one.
  virtual void on_failure(const SourceFailure& failure) = 0;

  // A message of `bytes` bytes is done. Follows on_result() or on_not_evaluated() for it.
  virtual void on_progress(std::uint64_t bytes) = 0;
};

// The result of a whole run. All went well when tally.not_evaluated, tally.errors and
// failed_sources are 0.
struct RunResult {
  Tally tally;                       // of all messages, evaluated or not
  std::uint64_t failed_sources = 0;  // sources that can't be read
};

// Reads each of `sources`, has each message in it evaluated, and tells `observer` about it. Each
// message was received at `received`, where that is given, and otherwise at its source's time. It
// is counted where Delivery::as_delivered has it go.
RunResult run(const std::vector<MailSource>& sources, MessageEvaluator& evaluator,
              Observer& observer, std::optional<std::time_t> received = std::nullopt,
              Delivery::FolderDots dots = Delivery::FolderDots::inbox);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_RUN_H_
