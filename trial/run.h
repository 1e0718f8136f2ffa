// A run of a user's script over all messages of some sources. Nothing is done to the messages.
#ifndef QUARROW_TRIAL_RUN_H_
#define QUARROW_TRIAL_RUN_H_

#include <cstdint>
#include <ctime>
#include <optional>
#include <vector>

#include "quarrow/delivery/folder_dots.h"
#include "trial/mail_sources.h"
#include "trial/message_evaluator.h"
#include "trial/observer.h"
#include "trial/tally.h"

namespace Quarrow::Trial {

// The result of a whole run. All went well when tally.not_evaluated, tally.errors and
// failed_sources are 0.
struct RunResult {
  Tally tally;                       // of all messages, evaluated or not
  std::uint64_t failed_sources = 0;  // sources that can't be read
};

struct RunSettings {
  std::optional<std::time_t> received = {};  // when all messages came; none: as the sources say
  Delivery::FolderDots dots = Delivery::FolderDots::inbox;
};

// Reads each of `sources`, has each message in it evaluated, and tells `observer` about it. Each
// message is counted where Delivery::as_delivered has it go.
RunResult run(const std::vector<MailSource>& sources, MessageEvaluator& evaluator,
              Observer& observer, const RunSettings& settings = {});

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_RUN_H_
