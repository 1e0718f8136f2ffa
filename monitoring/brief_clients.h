// Clients that come with one request and have little time, many of them in one process.
#ifndef QUARROW_MONITORING_BRIEF_CLIENTS_H_
#define QUARROW_MONITORING_BRIEF_CLIENTS_H_

#include "http/message.h"
#include "server/worker.h"

namespace Quarrow::Monitoring {

// Answers one request of each client that comes to `listener`, which does not block, until `stop`
// is set; then it takes no more clients, and returns once those that are there are gone. No client
// is waited for: one that says nothing keeps no other from its answer, and goes after
// longest_visit, or when there are too many. So does one that does not take its answer at once.
void serve_briefly(int listener, const Http::Handler& handler, const Server::StopSignal& stop);

}  // namespace Quarrow::Monitoring

#endif  // QUARROW_MONITORING_BRIEF_CLIENTS_H_
