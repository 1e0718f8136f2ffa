// Choosing the processor.
#include "delivery/one_processor.h"

#include "system/processors.h"

namespace Quarrow::Delivery {
namespace {

// The processor that this process is on; none when it can't be told.
cpu_set_t present_processor() {
  cpu_set_t only;
  CPU_ZERO(&only);
  const int processor = sched_getcpu();
  if (processor >= 0 && processor < CPU_SETSIZE) CPU_SET(processor, &only);
  return only;
}

// An empty set is refused by the system. Without it, a process is as fast as before.
void keep_on(pid_t process, const cpu_set_t& processors) {
  (void)sched_setaffinity(process, sizeof processors, &processors);
}

}  // namespace

void stay_on_one_processor() { stay_on_processor(sched_getcpu()); }

OnOneProcessor::OnOneProcessor(pid_t helper, const cpu_set_t& allowed) : allowed_(allowed) {
  const cpu_set_t only = present_processor();
  keep_on(0, only);
  keep_on(helper, only);
}

OnOneProcessor::~OnOneProcessor() { keep_on(0, allowed_); }

cpu_set_t allowed_processors() {
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  (void)sched_getaffinity(0, sizeof allowed, &allowed);
  return allowed;
}

}  // namespace Quarrow::Delivery
