// Choosing the processor.
#include "delivery/one_processor.h"

#include <sched.h>

#include "system/processors.h"

namespace Quarrow::Delivery {

// without it, the process is as fast as before
void stay_on_one_processor() { stay_on_processor(sched_getcpu()); }

}  // namespace Quarrow::Delivery
