// Files in memory by their paths in /proc.
#include "system/memory_file.h"

#include <unistd.h>

#include "system/file_io.h"
#include "system/nameless_file.h"

namespace Quarrow {

MemoryFile::MemoryFile() : file_(nameless_file_in_memory()) {}

std::string MemoryFile::path() const { return "/proc/self/fd/" + std::to_string(fd()); }

bool MemoryFile::write(const std::string& text) const {
  if (ftruncate(fd(), 0) != 0) return false;
  // In memory a write is whole or fails.
  return pwrite(fd(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
}

std::string MemoryFile::read() const {
  std::string text;
  while (append_next(fd(), text) > 0) continue;
  return text;
}

}  // namespace Quarrow
