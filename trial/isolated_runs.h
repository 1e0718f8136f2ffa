// Scripts run over messages in a process that can do nothing else, as delivery does it.
#ifndef QUARROW_TRIAL_ISOLATED_RUNS_H_
#define QUARROW_TRIAL_ISOLATED_RUNS_H_

#include <ctime>
#include <string>

#include "quarrow/delivery/evaluator.h"
#include "system/memory_file.h"
#include "trial/mail_contents.h"

namespace Quarrow::Trial {

// One helper process for all scripts and messages: they are all shown to the one who asked, and
// none is acted upon. A message is never parsed in this process.
class IsolatedRuns {
 public:
  IsolatedRuns();

  // Runs the script in the file `path`, which is read anew each time, or the script `text`, over
  // `message`, which was received at `received`.
  Delivery::Evaluation run_file(const FoundMessage& message, std::time_t received,
                                const std::string& path);
  Delivery::Evaluation run_text(const FoundMessage& message, std::time_t received,
                                const std::string& text);

  // The value that the interpreter compares in a test of the header `name`.
  Delivery::HeaderValue header_value(const FoundMessage& message, std::time_t received,
                                     const std::string& name);

 private:
  int file_of(const FoundMessage& message) const;

  Delivery::Evaluator evaluator_;
  const MemoryFile headers_;  // of a message that is not a file
};

// Whether `evaluation` failed: there is neither a result nor, for want of a script, nothing to do.
bool has_failed(const Delivery::Evaluation& evaluation);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_ISOLATED_RUNS_H_
