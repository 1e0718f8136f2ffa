// How much a client may ask for: all bounds of a session stand here.
#ifndef QUARROW_HTTP_LIMITS_H_
#define QUARROW_HTTP_LIMITS_H_

#include <cstddef>

namespace Quarrow::Http {

// Seconds after which a client that was turned away may come again.
constexpr unsigned retry_after = 5;

// Bytes of a body that are dropped behind the refusal of its length. A proxy that can't send a body
// to its end may take the connection for broken, and never look at the answer.
constexpr std::size_t most_dropped = 4U << 20U;

// The bounds that an administrator may set.
struct Limits {
  std::size_t header = 8192;       // bytes of a request line with its headers
  std::size_t target = 4096;       // bytes of a target
  std::size_t headers = 100;       // of one request
  std::size_t body = 256U * 1024;  // bytes, without a transfer coding
  std::size_t requests = 1000;     // on one connection
};

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_LIMITS_H_
