// Deadlines, made of the patience with a client and of what it has used up.
#include "server/deadline.h"

#include <algorithm>

#include "server/limits.h"

namespace Quarrow::Server {
namespace {

std::chrono::seconds silence_of(const Pace& pace, const Patience& patience) {
  return pace.stopping ? std::min(silence_when_stopping, patience.silence) : patience.silence;
}

}  // namespace

timespec time_until(Clock::time_point end) {
  const auto now = Clock::now();
  const auto left = std::chrono::nanoseconds(std::max(end, now) - now).count();
  return {static_cast<time_t>(left / 1000000000), static_cast<long>(left % 1000000000)};
}

Clock::time_point deadline(const Pace& pace, const Patience& patience) {
  return std::min<Clock::time_point>(pace.last_bytes + silence_of(pace, patience),
                                     pace.step_start + patience.transaction);
}

Clock::time_point answer_deadline(const Pace& pace, const Patience& patience,
                                  Clock::time_point now) {
  return now + silence_of(pace, patience) - pace.for_room;
}

bool is_slow(Clock::duration waited, const Patience& patience) {
  return waited >= patience.when_busy;
}

Clock::time_point next_look(Clock::duration waited, const Patience& patience,
                            Clock::time_point now) {
  return now + std::max<Clock::duration>(patience.when_busy - waited, between_looks);
}

}  // namespace Quarrow::Server
