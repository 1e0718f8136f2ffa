// A network file system on which each file was replaced just now.
#ifndef QUARROW_SYSTEM_STALE_FILES_TEST_SUPPORT_H_
#define QUARROW_SYSTEM_STALE_FILES_TEST_SUPPORT_H_

#include <seccomp.h>

#include <cerrno>

namespace Quarrow {

// From here on, the system call `call` (SCMP_SYS) fails in this process with ESTALE.
inline bool make_stale(int call) {
  const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
  return filter != nullptr && seccomp_rule_add(filter, SCMP_ACT_ERRNO(ESTALE), call, 0) == 0 &&
         seccomp_load(filter) == 0;
}

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_STALE_FILES_TEST_SUPPORT_H_
