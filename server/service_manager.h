// The service manager that started the server, if there is one.
#ifndef QUARROW_SERVER_SERVICE_MANAGER_H_
#define QUARROW_SERVER_SERVICE_MANAGER_H_

#include <string>
#include <vector>

namespace Quarrow::Server {

// Tells it a state in the form of sd_notify(3), such as "READY=1". Without a service manager
// nothing happens.
void tell_service_manager(const std::string& state);

// The listening sockets that it opened for this process (sd_listen_fds(3)), made non-blocking.
struct InheritedListeners {
  std::vector<int> clients;
  int monitor = -1;  // that with the name "monitor"; negative: none
};

// None without a service manager. Only the first call gives them: child processes do not take them
// for theirs.
InheritedListeners inherited_listeners();

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_SERVICE_MANAGER_H_
