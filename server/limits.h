// How long a client, a worker and the server itself may take.
#ifndef QUARROW_SERVER_LIMITS_H_
#define QUARROW_SERVER_LIMITS_H_

#include <chrono>
#include <cstddef>

namespace Quarrow::Server {

// From one command to the next, and between two blocks of a message. RFC 5321, section 4.5.3.2,
// asks for as much.
constexpr std::chrono::seconds silence{300};

// For a whole message: bounds a client that trickles.
constexpr std::chrono::seconds longest_transfer{1800};

// For the client to take a reply.
constexpr std::chrono::seconds longest_reply_wait{300};

// For a client to go on with a transaction once the server has been told to stop.
constexpr std::chrono::seconds silence_when_stopping{10};

// For the workers to finish when the server stops; then they are killed.
constexpr std::chrono::seconds longest_stop{60};

// A worker that lived for less and failed is replaced after this time only.
constexpr std::chrono::seconds shortest_life{1};

// Bytes that are taken from a client at a time.
constexpr std::size_t block_size = 65536;

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_LIMITS_H_
