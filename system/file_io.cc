// Loops around read(2), pread(2) and write(2).
#include "system/file_io.h"

#include <unistd.h>

#include <array>
#include <cerrno>

namespace Quarrow {

ssize_t read_at(int fd, char* data, std::size_t size, std::size_t offset) {
  for (;;) {
    const ssize_t count = pread(fd, data, size, static_cast<off_t>(offset));
    if (count >= 0 || errno != EINTR) return count;
  }
}

ssize_t append_next(int fd, std::string& text) {
  std::array<char, 16384> block;
  const ssize_t count = read_at(fd, block.data(), block.size(), text.size());
  if (count > 0) text.append(block.data(), static_cast<std::size_t>(count));
  return count;
}

ssize_t append_from(int fd, std::string& text) {
  std::array<char, 65536> block;  // as much as a pipe holds
  ssize_t count = 0;
  do {
    count = read(fd, block.data(), block.size());
  } while (count < 0 && errno == EINTR);
  if (count > 0) text.append(block.data(), static_cast<std::size_t>(count));
  return count;
}

bool write_all(int fd, std::string_view data) {
  while (!data.empty()) {
    const ssize_t written = write(fd, data.data(), data.size());
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) data.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace Quarrow
