// How long the server waits for a client.
#ifndef QUARROW_SERVER_DEADLINE_H_
#define QUARROW_SERVER_DEADLINE_H_

#include <chrono>
#include <ctime>

namespace Quarrow::Server {

using Clock = std::chrono::steady_clock;

// What a client may take of a worker's time; an administrator may set these. A protocol whose
// standard asks for a time asserts that the defaults are no less.
struct Patience {
  // From one block of bytes to the next, and for taking all the answers to a transaction.
  std::chrono::seconds silence{300};
  // From the end of a transaction, or the greeting, to the end of the next: bounds a client that
  // sends in drops.
  std::chrono::seconds transaction{1800};
  // For all the waiting of a transaction, while other clients wait for a worker.
  std::chrono::seconds when_busy{30};
};

// How a client got on so far.
struct Pace {
  Clock::time_point last_bytes;  // when the last of its bytes came
  Clock::time_point step_start;  // when the transaction under way began
  Clock::duration for_bytes{};   // how long the server has waited in it for bytes to come
  Clock::duration for_room{};    // and for the client to take answers
  bool stopping = false;         // the server waits for it to finish
};

// The time from now to `end`, in the form of the system's calls; 0 when `end` is past.
timespec time_until(Clock::time_point end);

// When to give a client up that sends nothing more, or whose transaction does not end.
Clock::time_point deadline(const Pace& pace, const Patience& patience);

// When to give a client up that takes nothing more of an answer, from `now` on.
Clock::time_point answer_deadline(const Pace& pace, const Patience& patience,
                                  Clock::time_point now);

// Whether a client that the server has waited for in a transaction for so long is to give way to
// others, if there are any.
bool is_slow(Clock::duration waited, const Patience& patience);

// When to ask, from `now` on, whether a client is to give way.
Clock::time_point next_look(Clock::duration waited, const Patience& patience,
                            Clock::time_point now);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_DEADLINE_H_
