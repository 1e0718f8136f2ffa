// A connection that a proxy hands on.
#ifndef QUARROW_SERVER_PROXIED_CLIENT_H_
#define QUARROW_SERVER_PROXIED_CLIENT_H_

#include <string>

#include "server/deadline.h"
#include "server/worker.h"

namespace Quarrow::Server {

struct ProxiedClient {
  std::string address;  // as read_proxy_header() has it
  std::string fault;    // why the connection is to be ended; empty when it may go on
};

// Takes the header of a proxy off the connection `socket`, and no byte behind it. The header must
// be there by `until`. Waits for it, unless `stop` is set.
ProxiedClient take_proxy_header(int socket, const StopSignal& stop, Clock::time_point until);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_PROXIED_CLIENT_H_
