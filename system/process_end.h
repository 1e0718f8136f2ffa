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

// What waitpid(2) says in its status.
ProcessEnd process_end(int wait_status);

// Waits until the child `process` has ended, and takes leave of it. `signal` and `status` are 0 for
// one that is no child of this process.
ProcessEnd wait_for(pid_t process);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_PROCESS_END_H_
