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
#include "server/shared_status.h"
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
  std::function<void()> answer_inquiry;  // a client came to the socket `inquiries`
  int inquiries = -1;                    // a listening socket that does not block; negative: none
  // In the monitor, a process that is kept alive beside the workers: its whole life; gives its exit
  // status. SIGTERM tells it to end. Empty: there is no monitor.
  std::function<int()> monitor = {};
};

// Keeps a number of workers and a monitor alive, and answers inquiries about them. A process that
// ends right after its start is replaced only after shortest_life, so that a lasting reason does
// not keep the machine busy.
class Supervisor {
 public:
  // Blocks the signals that run() waits for, so that none is lost until then. Without a descriptor
  // to read them from the process ends: it has hardly started.
  // `status` outlives this object, which keeps it true.
  Supervisor(std::size_t workers, SupervisorHooks hooks, SharedStatus& status);

  // Starts the workers and serves until SIGTERM or SIGINT; then lets the workers finish, for
  // longest_stop at most. In a worker it does not return. SIGHUP, after a reload that worked,
  // starts a new monitor and new workers, and lets each old one finish its conversation. The
  // monitor stays until all workers are gone.
  void run();

 private:
  using Time = Clock::time_point;

  // Processes of one kind, of which a number is kept alive.
  struct Crew {
    const char* name;
    std::function<int()> life;
    std::size_t wanted;
    std::map<pid_t, Time> alive = {};  // with the times of their starts
    Time next_start = Clock::now();    // none starts before

    bool lacks_one() const { return alive.size() < wanted; }
  };

  void inspect() const;
  void start_missing();
  void start_missing(Crew& crew) const;
  void start_one(Crew& crew) const;
  Time next_start() const;
  int next_signal(Time until) const;
  void reap();
  void bury(pid_t process, int status);
  bool bury(Crew& crew, pid_t process, int status) const;
  void reload();
  void retire(Crew& crew);
  void end_monitor() const;
  void stop();

  const SupervisorHooks hooks_;
  SharedStatus& status_;
  sigset_t signals_;
  const Descriptor signal_reader_;
  Crew workers_;
  Crew monitor_;
  std::map<pid_t, Time> retiring_;  // told to stop
};

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_SUPERVISOR_H_
