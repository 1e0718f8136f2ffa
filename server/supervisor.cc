// Waiting for signals and inquiries: the supervisor has nothing else to do, and nothing that can go
// wrong.
#include "server/supervisor.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include "server/limits.h"
#include "server/log.h"
#include "server/service_manager.h"
#include "system/process_end.h"

namespace Quarrow::Server {
namespace {

// The supervisor looks for ended workers this often at least: two signals may merge into one.
constexpr std::chrono::seconds longest_wait{60};

std::string text_of(const ProcessEnd& end) {
  if (end.signal != 0) return std::string("was ended by ") + strsignal(end.signal);
  return "exited with " + std::to_string(end.status);
}

sigset_t handled_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGCHLD, SIGTERM, SIGINT, SIGHUP, SIGUSR1}) sigaddset(&signals, signal);
  return signals;
}

// A worker whose supervisor is gone would serve for ever.
void go_with(pid_t supervisor) {
  (void)prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != supervisor) _exit(0);
}

void terminate(pid_t process, int signal) { (void)kill(process, signal); }  // it may be gone

}  // namespace

Supervisor::Supervisor(std::size_t workers, SupervisorHooks hooks)
    : wanted_(workers),
      hooks_(std::move(hooks)),
      signals_(handled_signals()),
      signal_reader_(signalfd(-1, &signals_, SFD_NONBLOCK | SFD_CLOEXEC)),
      next_start_(Clock::now()) {
  if (signal_reader_.get() < 0) std::abort();
  (void)sigprocmask(SIG_BLOCK, &signals_, nullptr);
}

void Supervisor::run() {
  inspect();
  start_missing();
  tell_service_manager("READY=1");
  for (;;) {
    const bool waits = workers_.size() < wanted_;
    switch (next_signal(waits ? next_start_ : Clock::now() + longest_wait)) {
      case SIGTERM:
      case SIGINT:
        return stop();
      case SIGHUP:
        reload();
        break;
      case SIGUSR1:
        hooks_.write_counters();
        break;
    }
    reap();
    start_missing();
  }
}

// Disks may hang, and the supervisor must not hang with them.
void Supervisor::inspect() const {
  const pid_t supervisor = getpid();
  if (fork() != 0) return;  // where it fails, the start of workers does, too, and that is logged
  go_with(supervisor);
  (void)prctl(PR_SET_NAME, "inspection");
  (void)sigprocmask(SIG_UNBLOCK, &signals_, nullptr);
  hooks_.inspect();
  _exit(0);
}

void Supervisor::start_missing() {
  while (workers_.size() < wanted_ && Clock::now() >= next_start_) start_one();
}

void Supervisor::start_one() {
  const pid_t supervisor = getpid();
  const pid_t child = fork();
  if (child == 0) {
    go_with(supervisor);
    _exit(hooks_.work());
  }
  if (child > 0) {
    workers_[child] = Clock::now();
    return;
  }
  log_error(std::string("a worker can't be started: ") + std::strerror(errno));
  next_start_ = Clock::now() + shortest_life;
}

// The next signal; 0 when none came in time, or an inquiry came first.
int Supervisor::next_signal(Time until) const {
  pollfd polled[] = {{signal_reader_.get(), POLLIN, 0}, {hooks_.inquiries, POLLIN, 0}};
  const timespec timeout = time_until(until);
  (void)ppoll(polled, std::size(polled), &timeout, nullptr);
  if (polled[1].revents != 0) hooks_.answer_inquiry(workers_.size());
  signalfd_siginfo signal{};
  const bool came = read(signal_reader_.get(), &signal, sizeof signal) == sizeof signal;
  return came ? static_cast<int>(signal.ssi_signo) : 0;
}

void Supervisor::reap() {
  int status = 0;
  for (pid_t ended = 0; (ended = waitpid(-1, &status, WNOHANG)) > 0;) bury(ended, status);
}

void Supervisor::bury(pid_t worker, int status) {
  hooks_.ended(worker);
  if (retiring_.erase(worker) > 0) return;
  const auto found = workers_.find(worker);
  if (found == workers_.end()) return;
  if (Clock::now() - found->second < shortest_life) next_start_ = Clock::now() + shortest_life;
  workers_.erase(found);
  log_warning("worker " + std::to_string(worker) + ' ' + text_of(process_end(status)) +
              "; it is replaced");
  hooks_.replaced();
}

void Supervisor::reload() {
  tell_service_manager("RELOADING=1");
  if (const auto workers = hooks_.reload()) {
    wanted_ = *workers;
    retire_all();
    next_start_ = Clock::now();
    inspect();
  }
  tell_service_manager("READY=1");
}

void Supervisor::retire_all() {
  for (const auto& [worker, started] : workers_) terminate(worker, SIGTERM);
  retiring_.merge(workers_);
  workers_.clear();
}

void Supervisor::stop() {
  tell_service_manager("STOPPING=1");
  retire_all();
  const auto end = Clock::now() + longest_stop;
  while (!retiring_.empty() && Clock::now() < end) {
    (void)next_signal(end);
    reap();
  }
  for (const auto& [worker, started] : retiring_) terminate(worker, SIGKILL);
}

}  // namespace Quarrow::Server
