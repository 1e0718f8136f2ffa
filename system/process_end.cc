// waitpid(2) and its status.
#include "system/process_end.h"

#include <sys/wait.h>

#include <cerrno>

namespace Quarrow {

ProcessEnd process_end(int wait_status) {
  if (WIFSIGNALED(wait_status)) return {WTERMSIG(wait_status), 0};
  return {0, WEXITSTATUS(wait_status)};
}

ProcessEnd wait_for(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0)
    if (errno != EINTR) return {};
  return process_end(status);
}

}  // namespace Quarrow
