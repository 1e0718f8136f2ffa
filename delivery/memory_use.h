// How much memory a process has.
#ifndef QUARROW_DELIVERY_MEMORY_USE_H_
#define QUARROW_DELIVERY_MEMORY_USE_H_

#include <cstdint>

namespace Quarrow::Delivery {

// In bytes.
struct MemoryUse {
  std::uint64_t address_space;
  std::uint64_t resident;
};

// The use of the process whose /proc/PID/statm (proc(5)) is open as `statm`; zeros when it can't be
// told.
MemoryUse memory_use(int statm);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_MEMORY_USE_H_
