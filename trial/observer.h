// All that there is to know of a run.
#ifndef QUARROW_TRIAL_OBSERVER_H_
#define QUARROW_TRIAL_OBSERVER_H_

#include <cstdint>
#include <string>

#include "quarrow/delivery/evaluation_outcome.h"
#include "trial/mail_sources.h"

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

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_OBSERVER_H_
