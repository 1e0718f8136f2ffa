// A session over a socket.
#ifndef QUARROW_LMTP_CONNECTION_H_
#define QUARROW_LMTP_CONNECTION_H_

#include <string>

#include "lmtp/session.h"
#include "lmtp/worker.h"

namespace Quarrow::Lmtp {

// Speaks with the client at `socket`, a blocking one that stays open, until the session is over,
// the client is gone or silent for too long, or `stop` is set and his transaction is done.
void converse(int socket, Handler& handler, const Limits& limits, const std::string& host_name,
              const StopSignal& stop);

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_CONNECTION_H_
