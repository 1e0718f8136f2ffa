// Bytes are looked at before they are taken, so that those behind the header stay.
#include "server/proxied_client.h"

#include <sys/socket.h>

#include <cerrno>

#include "server/proxy_header.h"

namespace Quarrow::Server {
namespace {

ProxiedClient failure(const char* fault) { return {"", fault}; }

}  // namespace

ProxiedClient take_proxy_header(int socket, const StopSignal& stop, Clock::time_point until) {
  std::string bytes;
  while (!stop.is_set()) {
    int ready = -1;
    if (stop.wait({socket}, ready, until) == StopSignal::Wait::timed_out)
      return failure("the proxy's header did not come in time");
    if (ready < 0) continue;
    const std::size_t taken = bytes.size();
    bytes.resize(longest_proxy_header);
    const ssize_t count = recv(socket, &bytes[taken], bytes.size() - taken, MSG_PEEK);
    bytes.resize(taken + static_cast<std::size_t>(count > 0 ? count : 0));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return failure("the connection ended before the proxy's header did");
    const ProxyHeader header = read_proxy_header(bytes);
    if (header.state == ProxyHeader::State::wrong)
      return failure("what came is no header of a proxy");
    const bool is_complete = header.state == ProxyHeader::State::complete;
    // They are there: a signal can't cut them.
    (void)recv(socket, &bytes[taken], (is_complete ? header.size : bytes.size()) - taken, 0);
    if (is_complete) return {header.client, ""};
  }
  return failure("the server is stopping");
}

}  // namespace Quarrow::Server
