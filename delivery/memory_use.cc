// Reading statm.
#include "delivery/memory_use.h"

#include <unistd.h>

#include <cstdlib>

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

}  // namespace Quarrow::Delivery
