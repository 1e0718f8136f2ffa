// A temporary file without a name.
#include "lmtp/spool.h"

#include <unistd.h>

#include "delivery/header_end.h"
#include "lmtp/limits.h"
#include "system/file_io.h"
#include "system/nameless_file.h"

namespace Quarrow::Lmtp {
bool Spool::open() {
  close();
  fd_ = nameless_file_in(folder_);
  return fd_ >= 0;
}

bool Spool::add(const char* data, std::size_t size) {
  if (!write_all(fd_, {data, size})) return false;
  size_ += size;
  return true;
}

std::string Spool::header() const { return Delivery::read_header(fd_, most_header).value_or(""); }

void Spool::close() {
  if (fd_ >= 0) (void)::close(fd_);  // nothing in it is needed any longer
  fd_ = -1;
  size_ = 0;
}

}  // namespace Quarrow::Lmtp
