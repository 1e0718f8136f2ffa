// Choosing the processor.
#include "delivery/one_processor.h"

#include <sched.h>

namespace Quarrow::Delivery {

void stay_on_one_processor() {
  const int processor = sched_getcpu();
  if (processor < 0 || processor >= CPU_SETSIZE) return;
  cpu_set_t only;
  CPU_ZERO(&only);
  CPU_SET(processor, &only);
  (void)sched_setaffinity(0, sizeof only, &only);  // without it, the process is as fast as before
}

}  // namespace Quarrow::Delivery
