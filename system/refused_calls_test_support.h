// A kernel that refuses system calls.
#ifndef QUARROW_SYSTEM_REFUSED_CALLS_TEST_SUPPORT_H_
#define QUARROW_SYSTEM_REFUSED_CALLS_TEST_SUPPORT_H_

#include <seccomp.h>

#include <vector>

namespace Quarrow {

// From here on, the system call `call` (SCMP_SYS) fails with `error` in this process and in those
// that it makes, where its arguments are as `where` says. False when that was not possible.
inline bool refuse_call(int call, int error, const std::vector<scmp_arg_cmp>& where = {}) {
  const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
  const bool is_refused =
      filter != nullptr &&
      seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(static_cast<unsigned>(error)), call,
                             static_cast<unsigned>(where.size()), where.data()) == 0 &&
      seccomp_load(filter) == 0;
  seccomp_release(filter);
  return is_refused;
}

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_REFUSED_CALLS_TEST_SUPPORT_H_
