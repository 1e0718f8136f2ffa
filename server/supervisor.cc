// Waiting for signals and inquiries: the supervisor has nothing else to do, and nothing that can go
// wrong.
#include "server/supervisor.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
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

Supervisor::Supervisor(std::size_t workers, SupervisorHooks hooks, SharedStatus& status)
    : hooks_(std::move(hooks)),
      status_(status),
      signals_(handled_signals()),
      signal_reader_(signalfd(-1, &signals_, SFD_NONBLOCK | SFD_CLOEXEC)),
      workers_{"worker", hooks_.work, workers},
      monitor_{"monitor", hooks_.monitor, hooks_.monitor ? 1U : 0U} {
  if (signal_reader_.get() < 0) std::abort();
  (void)sigprocmask(SIG_BLOCK, &signals_, nullptr);
}

void Supervisor::run() {
  inspect();
  start_missing();
  tell_service_manager("READY=1");
  for (;;) {
    switch (next_signal(next_start())) {
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

// A monitor that comes first would tell that no worker is there.
void Supervisor::start_missing() {
  start_missing(workers_);
  status_.set_workers(workers_.alive.size());
  start_missing(monitor_);
}

void Supervisor::start_missing(Crew& crew) const {
  while (crew.lacks_one() && Clock::now() >= crew.next_start) start_one(crew);
}

void Supervisor::start_one(Crew& crew) const {
  const pid_t supervisor = getpid();
  const pid_t child = fork();
  if (child == 0) {
    go_with(supervisor);
    _exit(crew.life());
  }
  if (child > 0) {
    crew.alive[child] = Clock::now();
    return;
  }
  log_error(std::string("a ") + crew.name + " can't be started: " + std::strerror(errno));
  crew.next_start = Clock::now() + shortest_life;
}

// When a process is to be started, or ended ones are to be looked for.
Supervisor::Time Supervisor::next_start() const {
  Time next = Clock::now() + longest_wait;
  for (const Crew* const crew : {&workers_, &monitor_})
    if (crew->lacks_one()) next = std::min(next, crew->next_start);
  return next;
}

// The next signal; 0 when none came in time, or an inquiry came first.
int Supervisor::next_signal(Time until) const {
  pollfd polled[] = {{signal_reader_.get(), POLLIN, 0}, {hooks_.inquiries, POLLIN, 0}};
  const timespec timeout = time_until(until);
  (void)ppoll(polled, std::size(polled), &timeout, nullptr);
  if (polled[1].revents != 0) hooks_.answer_inquiry();
  signalfd_siginfo signal{};
  const bool came = read(signal_reader_.get(), &signal, sizeof signal) == sizeof signal;
  return came ? static_cast<int>(signal.ssi_signo) : 0;
}

void Supervisor::reap() {
  int status = 0;
  for (pid_t ended = 0; (ended = waitpid(-1, &status, WNOHANG)) > 0;) bury(ended, status);
}

void Supervisor::bury(pid_t process, int status) {
  hooks_.ended(process);
  if (retiring_.erase(process) > 0 || bury(monitor_, process, status)) return;
  if (bury(workers_, process, status)) hooks_.replaced();
}

// False when the process is none of `crew`.
bool Supervisor::bury(Crew& crew, pid_t process, int status) const {
  const auto found = crew.alive.find(process);
  if (found == crew.alive.end()) return false;
  if (Clock::now() - found->second < shortest_life) crew.next_start = Clock::now() + shortest_life;
  crew.alive.erase(found);
  log_warning(std::string(crew.name) + ' ' + std::to_string(process) + ' ' +
              text_of(process_end(status)) + "; it is replaced");
  return true;
}

void Supervisor::reload() {
  tell_service_manager("RELOADING=1");
  if (const auto workers = hooks_.reload()) {
    workers_.wanted = *workers;
    retire(workers_);
    retire(monitor_);
    inspect();
  }
  tell_service_manager("READY=1");
}

void Supervisor::retire(Crew& crew) {
  for (const auto& [process, started] : crew.alive) terminate(process, SIGTERM);
  retiring_.merge(crew.alive);
  crew.alive.clear();
  crew.next_start = Clock::now();
}

void Supervisor::stop() {
  tell_service_manager("STOPPING=1");
  status_.set_stopping();
  retire(workers_);
  const auto end = Clock::now() + longest_stop;
  while (!retiring_.empty() && Clock::now() < end) {
    (void)next_signal(end);
    reap();
  }
  for (const auto& [process, started] : retiring_) terminate(process, SIGKILL);
  end_monitor();
}

// The next server may listen at the same address: this one's socket must be gone by then.
void Supervisor::end_monitor() const {
  for (const auto& [process, started] : monitor_.alive) {
    terminate(process, SIGKILL);
    (void)waitpid(process, nullptr, 0);
  }
}

}  // namespace Quarrow::Server
