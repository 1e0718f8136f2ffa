// One line for each client.
#include "server/health.h"

#include <sys/socket.h>

#include "system/descriptor.h"

namespace Quarrow::Server {

std::string text_of(const Health& health) {
  return "workers=" + std::to_string(health.workers) + " busy=" + std::to_string(health.busy) +
         " waiting=" + (health.others_wait ? "yes" : "no") +
         " uptime=" + std::to_string(health.uptime.count()) + '\n';
}

void answer_at(int listener, const std::string& text) {
  const Descriptor client(accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (client.get() >= 0) (void)send(client.get(), text.data(), text.size(), MSG_NOSIGNAL);
}

}  // namespace Quarrow::Server
