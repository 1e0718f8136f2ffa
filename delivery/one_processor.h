// Where a process and its helper run.
#ifndef QUARROW_DELIVERY_ONE_PROCESSOR_H_
#define QUARROW_DELIVERY_ONE_PROCESSOR_H_

#include <sched.h>
#include <sys/types.h>

namespace Quarrow::Delivery {

// Keeps this process, and the helpers that it forks from now on, on the processor that it is on. It
// is meant for a process that evaluates message after message and does little else: the process and
// its helper take turns, and waking another processor each time takes as long as the evaluation.
// Changes nothing where that is not allowed.
void stay_on_one_processor();

// Brings a helper to the processor that this process is on, and keeps both there for the time of
// one evaluation. Then this process may go where it might go before; so processes that serve many
// clients do not crowd on one processor. Without the right to do so, nothing changes.
class OnOneProcessor {
 public:
  // `allowed` are the processors of this process.
  OnOneProcessor(pid_t helper, const cpu_set_t& allowed);
  ~OnOneProcessor();
  OnOneProcessor(const OnOneProcessor&) = delete;
  OnOneProcessor& operator=(const OnOneProcessor&) = delete;

 private:
  const cpu_set_t& allowed_;
};

// The processors that this process may run on.
cpu_set_t allowed_processors();

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_ONE_PROCESSOR_H_
