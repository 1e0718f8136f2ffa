// A protocol over a socket.
#ifndef QUARROW_SERVER_CONNECTION_H_
#define QUARROW_SERVER_CONNECTION_H_

#include "server/protocol.h"
#include "server/worker.h"

namespace Quarrow::Server {

// Speaks with the client at `socket`, a blocking one that stays open, until the conversation is
// over, the client is gone or silent for too long, or `stop` is set and what is under way is done.
void converse(int socket, const NewProtocol& new_protocol, const StopSignal& stop);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_CONNECTION_H_
