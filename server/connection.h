// A protocol over a socket.
#ifndef QUARROW_SERVER_CONNECTION_H_
#define QUARROW_SERVER_CONNECTION_H_

#include <functional>

#include "server/deadline.h"
#include "server/protocol.h"
#include "server/worker.h"

namespace Quarrow::Server {

// What bounds a conversation.
struct Courtesy {
  Patience patience;
  OthersWait others_wait;
};

// Speaks with the client at `socket` until the protocol says that the conversation is over, and
// tells the protocol when the client is gone, was silent for too long or is to give way to others,
// and when `stop` is set. A client that takes no answers counts as gone. The socket stays open.
void converse(int socket, const NewProtocol& new_protocol, const StopSignal& stop,
              const Courtesy& courtesy);

// Ends the conversation with the client at `socket` before it began: the client is to come again.
void turn_away(int socket, const NewProtocol& new_protocol, const StopSignal& stop,
               const Courtesy& courtesy);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_CONNECTION_H_
