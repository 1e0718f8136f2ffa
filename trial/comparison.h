// Where messages go by a user's script, and where they would go by another one.
#ifndef QUARROW_TRIAL_COMPARISON_H_
#define QUARROW_TRIAL_COMPARISON_H_

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "quarrow/delivery/delivery_plan.h"
#include "trial/isolated_runs.h"
#include "trial/mail_sources.h"
#include "trial/run.h"

namespace Quarrow::Trial {

// A message that would go elsewhere.
struct Difference {
  std::string message;
  Delivery::Plan now;
  Delivery::Plan then;
};

struct ComparisonResult {
  std::vector<Difference> differences;  // in the order of the messages
  std::uint64_t messages = 0;
  std::uint64_t failed_now = 0;   // messages whose evaluation fails now
  std::uint64_t failed_then = 0;  // and those whose evaluation would fail
};

// Runs the script in the file `script_path`, which there need not be, and the script `text` over
// each message of `sources`. A source that can't be read is told to `on_failure`; the run goes on.
ComparisonResult compare(const std::vector<MailSource>& sources, const std::string& script_path,
                         const std::string& text, const RunSettings& settings,
                         const std::function<void(const SourceFailure&)>& on_failure);

// Whether both plans put a message into the same folders, or refuse it in the same way.
bool is_same_place(const Delivery::Plan& a, const Delivery::Plan& b, Delivery::FolderDots dots);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_COMPARISON_H_
