// What a new process keeps of the one that forked it.
#ifndef QUARROW_SYSTEM_INHERITANCE_H_
#define QUARROW_SYSTEM_INHERITANCE_H_

#include <vector>

namespace Quarrow {

// The number that the first kept descriptor gets: that behind the standard ones.
constexpr int first_kept_descriptor = 3;

// Leaves only `kept`, renumbered from first_kept_descriptor on in their order, and the standard
// descriptors, which lead nowhere. False, with any of them closed, when that was not possible.
bool keep_descriptors(std::vector<int> kept);

// Takes away the memory that this process can write and others see, such as a server's counters.
// False when that was not possible.
bool drop_shared_memory();

// Lets this process only read that memory. It can take the right back, unless it is kept from
// mprotect(2). False when that was not possible.
bool freeze_shared_memory();

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_INHERITANCE_H_
