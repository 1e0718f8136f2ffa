// How much a client may send, and how long a database may take.
#ifndef QUARROW_HOMES_LIMITS_H_
#define QUARROW_HOMES_LIMITS_H_

#include <chrono>
#include <cstddef>

namespace Quarrow::Homes {

// Bytes of a request: an address, which mail servers take from lines of some 2000 bytes.
constexpr std::size_t longest_request = 8192;

// Bytes of replies that are kept until those to the requests of one block are all there.
constexpr std::size_t most_replies = 65536;

// Bytes of a node's name, and of its transport.
constexpr std::size_t longest_node_name = 64;
constexpr std::size_t longest_transport = 512;

// For the database, where another process has it for itself: a lookup, for which a mail server
// waits, and a change, for which a person does.
constexpr std::chrono::milliseconds lookup_patience{2000};
constexpr std::chrono::milliseconds change_patience{5000};

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_LIMITS_H_
