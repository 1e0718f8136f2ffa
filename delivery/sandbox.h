// Confining a process for good.
#ifndef QUARROW_DELIVERY_SANDBOX_H_
#define QUARROW_DELIVERY_SANDBOX_H_

#include <linux/filter.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace Quarrow::Delivery {

// Whether the kernel has Landlock, and lets us use it. Where it does not, in an old kernel or in
// some containers, a confined process may open any file that its user may read.
bool has_landlock();

// Confines the calling process, which has one thread, and those that it makes from then on: they
// gain no privileges, have `memory` bytes of address space beyond those of now, leave no core
// dumps, write files of at most `file_size` bytes, and open no file of the system where the kernel
// has Landlock: EACCES. Files in memory stay open to a process. False when that was not possible.
bool confine(std::uint64_t memory, std::uint64_t file_size);

// The system calls that a process keeps, compiled for the kernel: they let it compute, use
// descriptors of its own, and read others that it has. Any other call ends the process with SIGSYS.
// It can make no process, run nothing, and open nothing for writing.
class SystemCallFilter {
 public:
  // For a process that accepts connections from `listener` alone, and converses on them, with
  // numbers above that. It can connect to nothing; opening files, and changing the rights to
  // memory, fails with EACCES.
  static SystemCallFilter for_listener(int listener);

  // `socket` is the only socket that is received from and sent to, and `writable_file` the only
  // file that is written. Descriptors above both are not the process's own: it may close them.
  SystemCallFilter(int socket, int writable_file);

  // Binds the calling process, which is confined and has one thread, for good. False when that was
  // not possible.
  bool apply() const;

 private:
  explicit SystemCallFilter(std::vector<sock_filter> program) : program_(std::move(program)) {}

  std::vector<sock_filter> program_;  // empty: could not be compiled
};

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_SANDBOX_H_
