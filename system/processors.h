// The processors that a process may use.
#ifndef QUARROW_SYSTEM_PROCESSORS_H_
#define QUARROW_SYSTEM_PROCESSORS_H_

#include <vector>

namespace Quarrow {

// The numbers of the processors that this process may use, ascending; none when the system does not
// tell.
std::vector<int> usable_processors();

// Keeps this process, and those that it forks from now on, on the processor with this number.
// Changes nothing where that is not allowed.
void stay_on_processor(int number);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_PROCESSORS_H_
