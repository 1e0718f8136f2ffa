// Reading statm.
#include "delivery/memory_use.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "system/file_io.h"

namespace Quarrow::Delivery {

MemoryUse memory_use(int statm) {
  char text[128] = "";
  if (read_at(statm, text, sizeof text - 1, 0) <= 0) return {0, 0};
  static const auto page_size = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  char* resident = nullptr;
  const std::uint64_t address_space = std::strtoull(text, &resident, 10) * page_size;
  return {address_space, std::strtoull(resident, nullptr, 10) * page_size};
}

MemoryWatch::MemoryWatch(pid_t process)
    : statm_(open(("/proc/" + std::to_string(process) + "/statm").c_str(), O_RDONLY | O_CLOEXEC)),
      at_start_(memory_use(statm_.get()).resident) {}

bool MemoryWatch::has_grown_by(std::uint64_t growth) const {
  const std::uint64_t now = memory_use(statm_.get()).resident;
  return at_start_ == 0 || now == 0 || now >= at_start_ + growth;
}

}  // namespace Quarrow::Delivery
