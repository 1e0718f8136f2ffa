// Where a process and its helper run.
#ifndef QUARROW_DELIVERY_ONE_PROCESSOR_H_
#define QUARROW_DELIVERY_ONE_PROCESSOR_H_

namespace Quarrow::Delivery {

// Keeps this process, and the helpers that it forks from now on, on the processor that it is on. It
// is meant for a process that evaluates message after message and does little else: the process and
// its helper take turns, and waking another processor each time takes as long as the evaluation.
// Changes nothing where that is not allowed.
void stay_on_one_processor();

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_ONE_PROCESSOR_H_
