// The process that starts the workers and replaces those that end.
#ifndef QUARROW_SERVER_SUPERVISOR_H_
#define QUARROW_SERVER_SUPERVISOR_H_

#include <signal.h>
#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>

#include "server/deadline.h"
#include "system/descriptor.h"

namespace Quarrow::Server {

// The supervisor's answers to its events.
struct SupervisorHooks {
  std::function<int()> work;  // in a worker: its whole life; gives its exit status
  // In a process of its own, at the start and after a reload: says what will keep the workers from
  // their work. It may take its time.
  std::function<void()> inspect;
  // SIGHUP: gives the number of workers from here on, or nothing when all stays as it is
  std::function<std::optional<std::size_t>()> reload;
  std::function<void()> write_counters;  // SIGUSR1
  std::function<void(pid_t)> ended;      // a child process is gone, whatever the reason
  std::function<void()> replaced;        // a worker ended unasked
  // A client came to the socket `inquiries`; gets the number of workers that take connections.
  std::function<void(std::size_t workers)> answer_inquiry;
  int inquiries = -1;  // a listening socket that does not block; negative: none
};

// Keeps a number of workers alive, and answers inquiries about them. A worker that ends right after
// its start is replaced only after shortest_life, so that a lasting reason does not keep the
// machine busy.
class Supervisor {
 public:
  // Blocks the signals that run() waits for, so that none is lost until then. Without a descriptor
  // to read them from the process ends: it has hardly started.
  Supervisor(std::size_t workers, SupervisorHooks hooks);

  // Starts the workers and serves until SIGTERM or SIGINT; then lets the workers finish, for
  // longest_stop at most. In a worker it does not return. SIGHUP, after a reload that worked,
  // starts new workers, and lets each old one finish its conversation.
  void run();

 private:
  using Time = Clock::time_point;

  void inspect() const;
  void start_missing();
  void start_one();
  int next_signal(Time until) const;
  void reap();
  void bury(pid_t worker, int status);
  void reload();
  void retire_all();
  void stop();

  std::size_t wanted_;
  const SupervisorHooks hooks_;
  sigset_t signals_;
  const Descriptor signal_reader_;
  std::map<pid_t, Time> workers_;   // with the times of their starts
  std::map<pid_t, Time> retiring_;  // told to stop
  Time next_start_;                 // no worker starts before
};

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_SUPERVISOR_H_
