// Parts of a test that have a process of their own.
#ifndef QUARROW_SYSTEM_CHILD_PROCESS_TEST_SUPPORT_H_
#define QUARROW_SYSTEM_CHILD_PROCESS_TEST_SUPPORT_H_

#include <sys/types.h>
#include <unistd.h>

#include <functional>

#include "system/process_end.h"

namespace Quarrow {

// Starts a child process that runs `job` and exits with its result. Failed expectations in it are
// printed, but unknown to the test: the job tells its outcome by its exit status or in a file.
inline pid_t start_child(const std::function<int()>& job) {
  const pid_t child = fork();
  if (child == 0) _exit(job());
  return child;
}

// Runs `job` in a child process; how that ended.
inline ProcessEnd end_of_child(const std::function<int()>& job) {
  return wait_for(start_child(job));
}

// Whether `condition` holds in a child process.
inline bool holds_in_child(const std::function<bool()>& condition) {
  constexpr int yes = 7;  // no status of a child that ended in another way
  return end_of_child([&] { return condition() ? yes : 0; }).status == yes;
}

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_CHILD_PROCESS_TEST_SUPPORT_H_
