// How long the server waits for a client.
#ifndef QUARROW_SERVER_DEADLINE_H_
#define QUARROW_SERVER_DEADLINE_H_

#include <chrono>
#include <ctime>

namespace Quarrow::Server {

using Clock = std::chrono::steady_clock;

// How a client got on so far.
struct Pace {
  Clock::time_point last_bytes;  // when the last of its bytes came
  Clock::time_point step_start;  // when the command or message under way began
  bool in_message = false;
  bool stopping = false;  // the server waits for it to finish
};

// The time from now to `end`, in the form of the system's calls; 0 when `end` is past.
timespec time_until(Clock::time_point end);

// When to give a client up that sends nothing more, or whose command or message does not end.
Clock::time_point deadline(const Pace& pace);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_DEADLINE_H_
