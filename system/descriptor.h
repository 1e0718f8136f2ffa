// A file descriptor that closes itself.
#ifndef QUARROW_SYSTEM_DESCRIPTOR_H_
#define QUARROW_SYSTEM_DESCRIPTOR_H_

#include <unistd.h>

namespace Quarrow {

// The owner of a descriptor that is only read from: a failure of closing it concerns writers.
class Descriptor {
 public:
  // A negative number stands for no descriptor.
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) (void)close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return fd_; }

 private:
  const int fd_;
};

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_DESCRIPTOR_H_
