// systemd, behind two functions: the only file that includes its header.
#include "server/service_manager.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <systemd/sd-daemon.h>

namespace Quarrow::Server {

void tell_service_manager(const std::string& state) {
  (void)sd_notify(0, state.c_str());  // on failure it finds out later
}

std::vector<int> inherited_listeners() {
  std::vector<int> listeners;
  const int count = sd_listen_fds(/*unset_environment=*/1);
  for (int fd = SD_LISTEN_FDS_START; fd < SD_LISTEN_FDS_START + count; ++fd) {
    if (sd_is_socket(fd, AF_UNSPEC, SOCK_STREAM, /*listening=*/1) <= 0) continue;
    if (fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK) == 0) listeners.push_back(fd);
  }
  return listeners;
}

}  // namespace Quarrow::Server
