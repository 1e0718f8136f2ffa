// The service manager that started the server, if there is one.
#ifndef QUARROW_SERVER_SERVICE_MANAGER_H_
#define QUARROW_SERVER_SERVICE_MANAGER_H_

#include <string>
#include <vector>

namespace Quarrow::Server {

// Tells it a state, as sd_notify(3) has them: "READY=1". Without one nothing happens.
void tell_service_manager(const std::string& state);

// The listening sockets that it opened for this process (sd_listen_fds(3)), made non-blocking; none
// without it. Call it once: later processes are not to take them for theirs.
std::vector<int> inherited_listeners();

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_SERVICE_MANAGER_H_
