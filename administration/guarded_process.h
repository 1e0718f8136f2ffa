// Work on a rules document in a process of its own, since a damaged one ends the process that
// loads it.
#ifndef QUARROW_ADMINISTRATION_GUARDED_PROCESS_H_
#define QUARROW_ADMINISTRATION_GUARDED_PROCESS_H_

#include <functional>
#include <string>

#include "administration/refusal.h"

namespace Quarrow::Administration {

// The result of work: a refusal, or else an answer, whose form is between the work and its caller.
struct GuardedOutcome {
  Refusal refusal;
  std::string answer;
  Refusal remark = {};  // what went wrong beside the work, and did not keep it from being done
};

// Runs `work`, which loads the rules document at `document`, in a child process without core dumps,
// and gives what it returned. When the child was ended by a failed assertion, the document is
// damaged; by another signal, or without an answer: it crashed. An exception of the work is the
// refusal "unavailable". The child ends without flushing streams and without calling what the
// program registered for its exit; the work's changes in memory are lost with it. It is killed when
// this process ends, unless it took on other rights.
GuardedOutcome run_guarded(const std::string& document,
                           const std::function<GuardedOutcome()>& work);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_GUARDED_PROCESS_H_
