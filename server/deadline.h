// How long a client is waited for.
#ifndef QUARROW_SERVER_DEADLINE_H_
#define QUARROW_SERVER_DEADLINE_H_

#include <chrono>
#include <ctime>

namespace Quarrow::Server {

using Clock = std::chrono::steady_clock;

// What a client has done so far.
struct Pace {
  Clock::time_point last_bytes;  // when the last of his bytes came
  Clock::time_point step_start;  // when the command or message under way began
  bool in_message = false;
  bool stopping = false;  // the server waits for him to finish
};

// How long it is until `end`, as the system's calls want it; nothing when that is past.
timespec time_until(Clock::time_point end);

// When to give a client up: he sends nothing, or gets nowhere with what he sends.
Clock::time_point deadline(const Pace& pace);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_DEADLINE_H_
