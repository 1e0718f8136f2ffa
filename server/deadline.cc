// Deadlines, made of the limits.
#include "server/deadline.h"

#include <algorithm>

#include "server/limits.h"

namespace Quarrow::Server {

timespec time_until(Clock::time_point end) {
  const auto now = Clock::now();
  const auto left = std::chrono::nanoseconds(std::max(end, now) - now).count();
  return {static_cast<time_t>(left / 1000000000), static_cast<long>(left % 1000000000)};
}

Clock::time_point deadline(const Pace& pace) {
  const auto next_bytes = pace.last_bytes + (pace.stopping ? silence_when_stopping : silence);
  const auto step_end = pace.step_start + (pace.in_message ? longest_transfer : silence);
  return std::min<Clock::time_point>(next_bytes, step_end);
}

}  // namespace Quarrow::Server
