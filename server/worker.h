// A worker process: takes one connection after the other, until it is told to stop.
#ifndef QUARROW_SERVER_WORKER_H_
#define QUARROW_SERVER_WORKER_H_

#include <functional>
#include <optional>
#include <vector>

#include "server/deadline.h"

namespace Quarrow::Server {

// SIGTERM as a worker gets it: only while it waits for something, so that no job is interrupted.
class StopSignal {
 public:
  // From here on SIGTERM does not end the process, but is noted, in waits only. The other signals
  // that the supervisor handles get their default effect back. Three are ignored: SIGPIPE and
  // SIGXFSZ, which come of writing, and SIGINT, which a terminal sends to all processes.
  StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  // Whether SIGTERM came.
  bool is_set() const;

  // Why a wait ended.
  enum class Wait { ready, interrupted, timed_out };

  // Waits until one of `descriptors` can be read, which is then in `which`, or a signal comes, or
  // `until` is past. Without `until` it may wait for ever.
  Wait wait(const std::vector<int>& descriptors, int& which,
            std::optional<Clock::time_point> until = std::nullopt) const;
};

// Whether a client waits at one of `listeners`: no worker has been free to take it.
bool is_anyone_waiting(const std::vector<int>& listeners);

// A descriptor that can be read while a client waits at one of `listeners`, and by which none can
// be taken. It stays open until the process ends. Negative when there is none.
int any_of(const std::vector<int>& listeners);

// Accepts connections from `listeners`, which must not block, and calls `job` for each; `job`
// leaves the connection open. Returns once `stop` is set.
void serve(const std::vector<int>& listeners, const StopSignal& stop,
           const std::function<void(int connection)>& job);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_WORKER_H_
