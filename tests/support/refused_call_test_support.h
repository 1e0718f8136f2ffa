// A kernel, for a test's process, that refuses a system call.
#ifndef QUARROW_TESTS_SUPPORT_REFUSED_CALL_TEST_SUPPORT_H_
#define QUARROW_TESTS_SUPPORT_REFUSED_CALL_TEST_SUPPORT_H_

#include <seccomp.h>

namespace Quarrow {

// Has the system call `call`, a number, fail with `error` in this process from now on. False when
// that was not possible.
inline bool refuse_call(int call, int error) {
  const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
  const bool is_refused =
      filter != nullptr &&
      seccomp_rule_add(filter, SCMP_ACT_ERRNO(static_cast<unsigned>(error)), call, 0) == 0 &&
      seccomp_load(filter) == 0;
  seccomp_release(filter);
  return is_refused;
}

}  // namespace Quarrow

#endif  // QUARROW_TESTS_SUPPORT_REFUSED_CALL_TEST_SUPPORT_H_
