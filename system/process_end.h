// How a child process ended.
#ifndef QUARROW_SYSTEM_PROCESS_END_H_
#define QUARROW_SYSTEM_PROCESS_END_H_

#include <sys/types.h>

namespace Quarrow {

// By a signal, or else with an exit status.
struct ProcessEnd {
  int signal = 0;  // 0: by itself
  int status = 0;
};

// The end that waitpid(2) tells in its status.
ProcessEnd process_end(int wait_status);

// Waits until the child `process` has ended, and reaps it. `signal` and `status` are 0 for a
// process that is no child of this one.
ProcessEnd wait_for(pid_t process);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_PROCESS_END_H_
