// Descriptors that travel from one process to another (unix(7), SCM_RIGHTS).
#ifndef QUARROW_SYSTEM_DESCRIPTOR_PASSING_H_
#define QUARROW_SYSTEM_DESCRIPTOR_PASSING_H_

#include <cstdint>

namespace Quarrow {

// Sends `number`, and `fd` unless it is negative, as one packet over the socket. False when the
// other end is closed.
bool send_descriptor(int socket, std::int64_t number, int fd);

// Waits for a packet of send_descriptor and takes its number. Gives the descriptor, which is the
// caller's to close and is closed by exec(3); negative when the packet has none. Where no packet
// comes any more, `number` is -1.
int receive_descriptor(int socket, std::int64_t& number);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_DESCRIPTOR_PASSING_H_
