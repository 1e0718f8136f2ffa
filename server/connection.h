// A protocol over a socket.
#ifndef QUARROW_SERVER_CONNECTION_H_
#define QUARROW_SERVER_CONNECTION_H_

#include "server/protocol.h"
#include "server/worker.h"

namespace Quarrow::Server {

// Speaks with the client at `socket` until the protocol says that the conversation is over, and
// tells the protocol when the client is gone or silent for too long, and when `stop` is set. The
// socket is a blocking one and stays open.
void converse(int socket, const NewProtocol& new_protocol, const StopSignal& stop);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_CONNECTION_H_
