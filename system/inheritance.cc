// Descriptors and shared memory, given up.
#include "system/inheritance.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <utility>

namespace Quarrow {
namespace {

bool use_dev_null() {
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (null < 0) return false;
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
    if (dup2(null, fd) < 0) return false;
  return true;
}

// Calls `change` with each part of the memory that is shared and can be written. False when one
// call failed, or the memory could not be gone through.
bool change_shared_memory(const std::function<bool(void* start, std::size_t size)>& change) {
  std::ifstream maps("/proc/self/maps");
  std::vector<std::pair<std::uintptr_t, std::uintptr_t>> shared;
  for (std::string line; std::getline(maps, line);) {
    std::uintptr_t start = 0;
    std::uintptr_t end = 0;
    char rights[5] = "";
    // NOLINTNEXTLINE(cert-err34-c): the kernel writes addresses
    if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %4s", &start, &end, rights) != 3)
      return false;
    if (rights[1] == 'w' && rights[3] == 's') shared.emplace_back(start, end);
  }
  const bool was_read = maps.eof();
  return was_read && std::all_of(shared.begin(), shared.end(), [&change](const auto& part) {
           return change(reinterpret_cast<void*>(part.first), part.second - part.first);
         });
}

}  // namespace

// Two steps, since the numbers of those that are kept may be among those that are given away.
bool keep_descriptors(std::vector<int> kept) {
  const int behind = first_kept_descriptor + static_cast<int>(kept.size());
  for (int& fd : kept)
    if ((fd = fcntl(fd, F_DUPFD, behind)) < 0) return false;
  if (!use_dev_null()) return false;
  for (std::size_t i = 0; i < kept.size(); ++i)
    if (dup2(kept[i], first_kept_descriptor + static_cast<int>(i)) < 0) return false;
  return close_range(static_cast<unsigned>(behind), ~0U, 0) == 0;
}

bool drop_shared_memory() {
  return change_shared_memory(
      [](void* start, std::size_t size) { return munmap(start, size) == 0; });
}

bool freeze_shared_memory() {
  return change_shared_memory(
      [](void* start, std::size_t size) { return mprotect(start, size, PROT_READ) == 0; });
}

}  // namespace Quarrow
