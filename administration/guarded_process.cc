// A child process around work that may abort.
#include "administration/guarded_process.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <sysexits.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "apps/quarrow/complaint.h"

namespace Quarrow::Administration {
namespace {

int status_of_child(const std::string& document, int status) {
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WTERMSIG(status) == SIGABRT)
    return Command::complain(
        document,
        "damaged filter document: a filter in it is incomplete or holds a wrong word; "
        "restore it from a copy, or remove it to start anew",
        EX_DATAERR);
  return Command::complain(
      document, std::string("loading it was ended: ") + strsignal(WTERMSIG(status)), EX_SOFTWARE);
}

}  // namespace

int run_guarded(const std::string& document, const std::function<int()>& work) {
  const pid_t child = fork();
  if (child < 0) return Command::complain("fork", std::strerror(errno), EX_TEMPFAIL);
  if (child == 0) {
    const rlimit no_core = {0, 0};
    (void)setrlimit(RLIMIT_CORE, &no_core);  // without it there is a core file at worst
    std::exit(Command::finish_output(work()));
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0)
    if (errno != EINTR) return Command::complain("waitpid", std::strerror(errno), EX_OSERR);
  return status_of_child(document, status);
}

}  // namespace Quarrow::Administration
