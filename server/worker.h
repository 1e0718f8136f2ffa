// A worker process: takes one connection after the other, until it is told to stop.
#ifndef QUARROW_SERVER_WORKER_H_
#define QUARROW_SERVER_WORKER_H_

#include <functional>
#include <optional>
#include <vector>

#include "server/deadline.h"

namespace Quarrow::Server {

// SIGTERM as a worker gets it: only while it waits for something, so that no delivery is
// interrupted.
class StopSignal {
 public:
  // From here on SIGTERM is noted instead of ending the process, in waits only. Other signals that
  // the supervisor handles are set back to what they do by default; SIGPIPE and SIGXFSZ, which
  // writing brings about, are ignored, and so is SIGINT, which a terminal sends to all processes.
  StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  // Whether it came.
  bool is_set() const;

  // What a wait ended with.
  enum class Wait { ready, interrupted, timed_out };

  // Waits until one of `descriptors` can be read, giving it in `which`, or a signal came, or
  // `until` is past; without it, for ever.
  Wait wait(const std::vector<int>& descriptors, int& which,
            std::optional<Clock::time_point> until = std::nullopt) const;
};

// Accepts connections from `listeners`, which don't block, and gives each to `job`, which leaves
// it open. Returns once `stop` is set.
void serve(const std::vector<int>& listeners, const StopSignal& stop,
           const std::function<void(int connection)>& job);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_WORKER_H_
