// Which signals end a delivery, and how.
#include "apps/quarrow/delivery_signals.h"

#include <sysexits.h>
#include <unistd.h>

#include <csignal>

namespace Quarrow::Command {
namespace {

// Others ask for an end.
const int requests[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM,  SIGALRM,
                        SIGUSR1, SIGUSR2, SIGXCPU, SIGVTALRM};

// A defect causes an end.
const int crashes[] = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS};

// A call that fails says the same.
const int failures_of_calls[] = {SIGPIPE, SIGXFSZ};

extern "C" void exit_with_temporary_failure(int) { _exit(EX_TEMPFAIL); }

}  // namespace

void exit_on_signals() {
  struct sigaction action {};
  action.sa_handler = exit_with_temporary_failure;
  for (const int signal : requests) (void)sigaction(signal, &action, nullptr);
  for (const int signal : crashes) (void)sigaction(signal, &action, nullptr);
  action.sa_handler = SIG_IGN;
  for (const int signal : failures_of_calls) (void)sigaction(signal, &action, nullptr);
}

void put_off_requests_to_end() {
  sigset_t set;
  (void)sigemptyset(&set);
  for (const int signal : requests) (void)sigaddset(&set, signal);
  (void)sigprocmask(SIG_BLOCK, &set, nullptr);
}

}  // namespace Quarrow::Command
