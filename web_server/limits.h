// The bounds of the broker's work.
#ifndef QUARROW_WEB_SERVER_LIMITS_H_
#define QUARROW_WEB_SERVER_LIMITS_H_

#include <chrono>
#include <cstddef>

namespace Quarrow::WebServer {

struct Limits {
  std::size_t call = std::size_t{1} << 20U;     // bytes of a call
  std::size_t answer = std::size_t{16} << 20U;  // bytes of an answer
  std::size_t children = 8;                     // calls that are worked on at a time
  std::size_t waiting = 100;                    // calls that wait for that
  std::chrono::milliseconds time{30000};        // for a call, from when it came

  // Of one user. All sign-ins together count as a user's, so that a password server that hangs
  // leaves children for those who are signed in.
  std::size_t children_per_user = 4;  // calls that are worked on at a time
  std::size_t calls_per_user = 20;    // these, and those that wait
};

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_LIMITS_H_
