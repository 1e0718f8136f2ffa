// How much memory a process has.
#ifndef QUARROW_DELIVERY_MEMORY_USE_H_
#define QUARROW_DELIVERY_MEMORY_USE_H_

#include <sys/types.h>

#include <cstdint>

#include "system/descriptor.h"

namespace Quarrow::Delivery {

// In bytes.
struct MemoryUse {
  std::uint64_t address_space;
  std::uint64_t resident;
};

// The use of the process whose /proc/PID/statm (proc(5)) is open as `statm`; zeros when it can't be
// told.
MemoryUse memory_use(int statm);

// Looks at another process's memory from outside: the process itself could say what it likes.
class MemoryWatch {
 public:
  // The process counts as it is now.
  explicit MemoryWatch(pid_t process);

  // Whether the process uses `growth` bytes more than it did, or its use can't be told.
  bool has_grown_by(std::uint64_t growth) const;

 private:
  const Descriptor statm_;
  const std::uint64_t at_start_;
};

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_MEMORY_USE_H_
