// sched_setaffinity(2).
#include "system/processors.h"

#include <sched.h>

namespace Quarrow {

std::vector<int> usable_processors() {
  cpu_set_t usable;
  std::vector<int> numbers;
  if (sched_getaffinity(0, sizeof usable, &usable) != 0) return numbers;
  for (int number = 0; number < CPU_SETSIZE; ++number)
    if (CPU_ISSET(number, &usable)) numbers.push_back(number);
  return numbers;
}

void stay_on_processor(int number) {
  if (number < 0 || number >= CPU_SETSIZE) return;
  cpu_set_t only;
  CPU_ZERO(&only);
  CPU_SET(number, &only);
  (void)sched_setaffinity(0, sizeof only, &only);
}

}  // namespace Quarrow
