// How long a worker and the server itself may take.
#ifndef QUARROW_SERVER_LIMITS_H_
#define QUARROW_SERVER_LIMITS_H_

#include <chrono>
#include <cstddef>

namespace Quarrow::Server {

// From one look for clients that wait for a worker to the next, in a worker with a slow client.
constexpr std::chrono::seconds between_looks{1};

// For the header of a proxy, in front of a conversation.
constexpr std::chrono::seconds longest_introduction{5};

// From one block to the next, once the server has been told to stop.
constexpr std::chrono::seconds silence_when_stopping{10};

// For the workers to finish when the server stops; the supervisor kills those that are left.
constexpr std::chrono::seconds longest_stop{60};

// A worker that ends sooner is replaced only after this time.
constexpr std::chrono::seconds shortest_life{1};

// Bytes that are taken from a client at a time.
constexpr std::size_t block_size = 65536;

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_LIMITS_H_
