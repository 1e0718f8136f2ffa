// Waiting with signals, and accepting.
#include "server/worker.h"

#include <poll.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "server/log.h"
#include "system/descriptor.h"

namespace Quarrow::Server {
namespace {

volatile sig_atomic_t terminated = 0;

void note_termination(int) { terminated = 1; }

void handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  (void)sigaction(signal, &action, nullptr);  // fails only for numbers of no signal
}

// What to poll to learn which of `descriptors` can be read.
std::vector<pollfd> readable(const std::vector<int>& descriptors) {
  std::vector<pollfd> polled;
  for (const int fd : descriptors) polled.push_back({fd, POLLIN, 0});
  return polled;
}

}  // namespace

StopSignal::StopSignal() {
  handle(SIGTERM, note_termination);
  for (const int signal : {SIGCHLD, SIGHUP, SIGUSR1}) handle(signal, SIG_DFL);
  for (const int signal : {SIGINT, SIGPIPE, SIGXFSZ}) handle(signal, SIG_IGN);
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  (void)sigprocmask(SIG_SETMASK, &blocked, nullptr);
}

// A SIGTERM that came during work is pending, and a wait that ends at once leaves it pending.
bool StopSignal::is_set() const {
  sigset_t pending;
  sigemptyset(&pending);
  (void)sigpending(&pending);
  return terminated != 0 || sigismember(&pending, SIGTERM) == 1;
}

StopSignal::Wait StopSignal::wait(const std::vector<int>& descriptors, int& which,
                                  std::optional<Clock::time_point> until) const {
  std::vector<pollfd> polled = readable(descriptors);
  const timespec timeout = until ? time_until(*until) : timespec{};
  sigset_t none;
  sigemptyset(&none);
  const int ready = ppoll(polled.data(), polled.size(), until ? &timeout : nullptr, &none);
  if (ready < 0) return Wait::interrupted;
  if (ready == 0) return Wait::timed_out;
  which = std::find_if(polled.begin(), polled.end(), [](const pollfd& each) {
            return each.revents != 0;
          })->fd;
  return Wait::ready;
}

bool is_anyone_waiting(const std::vector<int>& listeners) {
  std::vector<pollfd> polled = readable(listeners);
  return poll(polled.data(), polled.size(), 0) > 0;
}

int any_of(const std::vector<int>& listeners) {
  const int all = epoll_create1(EPOLL_CLOEXEC);
  for (const int listener : listeners) {
    epoll_event readable{};
    readable.events = EPOLLIN;
    if (epoll_ctl(all, EPOLL_CTL_ADD, listener, &readable) != 0) return -1;
  }
  return all;
}

void serve(const std::vector<int>& listeners, const StopSignal& stop,
           const std::function<void(int connection)>& job) {
  while (!stop.is_set()) {
    int listener = -1;
    if (stop.wait(listeners, listener) != StopSignal::Wait::ready) continue;
    if (stop.is_set()) return;  // the worker that follows serves this client
    const Descriptor connection(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
    if (connection.get() >= 0) {
      job(connection.get());
    } else if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) {
      log_error(std::string("accept: ") + std::strerror(errno));
      (void)poll(nullptr, 0, 1000);  // the connection still waits: another try at once would spin
    }                                // otherwise another worker was faster, or the client is gone
  }
}

}  // namespace Quarrow::Server
