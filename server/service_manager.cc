// systemd, behind two functions: the only file that includes its header.
#include "server/service_manager.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <systemd/sd-daemon.h>

#include <cstdlib>

namespace Quarrow::Server {

void tell_service_manager(const std::string& state) {
  (void)sd_notify(0, state.c_str());  // on failure it finds out later
}

InheritedListeners inherited_listeners() {
  InheritedListeners listeners;
  char** names = nullptr;
  const int count = sd_listen_fds_with_names(/*unset_environment=*/1, &names);
  for (int i = 0; i < count; ++i) {
    const int fd = SD_LISTEN_FDS_START + i;
    const std::string name = names[i];
    std::free(names[i]);
    if (sd_is_socket(fd, AF_UNSPEC, SOCK_STREAM, /*listening=*/1) <= 0 ||
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK) != 0)
      continue;
    if (name == "monitor")
      listeners.monitor = fd;
    else
      listeners.clients.push_back(fd);
  }
  std::free(names);
  return listeners;
}

}  // namespace Quarrow::Server
