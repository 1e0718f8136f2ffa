// A file in memory, and one on the disk for what is larger.
#include "lmtp/spool.h"

#include <unistd.h>

#include <array>

#include "delivery/header_end.h"
#include "lmtp/limits.h"
#include "system/file_io.h"
#include "system/nameless_file.h"

namespace Quarrow::Lmtp {

Spool::~Spool() {
  close();
  if (memory_ >= 0) (void)::close(memory_);
}

bool Spool::open() {
  close();
  if (memory_ < 0) memory_ = nameless_file_in_memory();
  fd_ = memory_;
  return fd_ >= 0;
}

bool Spool::add(const char* data, std::size_t size) {
  if (fd_ == memory_ && size_ + size > most_in_memory_ && !move_to_disk()) return false;
  if (!write_all(fd_, {data, size})) return false;
  size_ += size;
  return true;
}

bool Spool::move_to_disk() {
  const int file = nameless_file_in(folder_);
  if (file < 0) return false;
  std::array<char, 65536> block;
  std::uint64_t done = 0;
  while (done < size_) {
    const ssize_t count = read_at(memory_, block.data(), block.size(), done);
    if (count <= 0 || !write_all(file, {block.data(), static_cast<std::size_t>(count)})) {
      (void)::close(file);
      return false;
    }
    done += static_cast<std::uint64_t>(count);
  }
  empty_memory();
  fd_ = file;
  return true;
}

std::string Spool::header() const { return Delivery::read_header(fd_, most_header).value_or(""); }

void Spool::close() {
  if (fd_ >= 0 && fd_ != memory_) (void)::close(fd_);  // nothing in it is needed any longer
  if (fd_ >= 0 && fd_ == memory_) empty_memory();
  fd_ = -1;
  size_ = 0;
}

void Spool::empty_memory() {
  if (lseek(memory_, 0, SEEK_SET) == 0 && ftruncate(memory_, 0) == 0) return;
  (void)::close(memory_);  // the next message gets a new one
  memory_ = -1;
}

}  // namespace Quarrow::Lmtp
