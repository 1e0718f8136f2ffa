// Confining a process for good.
#ifndef QUARROW_DELIVERY_SANDBOX_H_
#define QUARROW_DELIVERY_SANDBOX_H_

#include <cstdint>

namespace Quarrow::Delivery {

// The means that a confined process keeps.
struct Confinement {
  int socket;               // the only socket that it may receive and send on
  int writable_file;        // the only file that it may write, which is in memory
  int first_foreign_fd;     // descriptors from this number on are not its own: it may close them
  std::uint64_t memory;     // bytes of address space beyond those that it has now
  std::uint64_t file_size;  // most bytes that the file may have
};

// Confines the calling process, which has one thread. From then on it can compute, use the means
// that `confinement` names, and read descriptors that it has; another system call ends it with
// SIGSYS. It can gain no privileges, make no process, open nothing for writing, and, where the
// kernel has Landlock, open no file of the system at all: EACCES. False when that was not possible;
// the process is partly confined then and must not go on.
bool confine(const Confinement& confinement);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_SANDBOX_H_
