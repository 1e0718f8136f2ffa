// Who has which descriptors and rights.
#include "web_server/broker_process.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <exception>

#include "delivery/sandbox.h"
#include "server/log.h"

namespace Quarrow::WebServer {
namespace {

constexpr int broker_socket = 3;

constexpr std::uint64_t memory_of_a_worker = std::uint64_t{256} << 20U;

[[noreturn]] void be_broker(int socket, const std::function<void(int)>& serve) {
  (void)prctl(PR_SET_NAME, "quarrow-broker");  // for a list of processes
  // The server tells its workers to stop, and the broker stops after them.
  for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGUSR1, SIGPIPE})
    (void)std::signal(signal, SIG_IGN);
  const bool is_kept = socket == broker_socket || dup2(socket, broker_socket) == broker_socket;
  if (!is_kept || close_range(broker_socket + 1, ~0U, 0) != 0) _exit(1);
  try {
    serve(broker_socket);
  } catch (const std::exception& error) {
    Server::log_error(error.what());
    _exit(1);
  }
  _exit(0);
}

}  // namespace

BrokerProcess start_broker(const std::function<void(int introductions)>& serve) {
  int ends[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return {};
  const pid_t process = fork();
  if (process == 0) be_broker(ends[1], serve);
  (void)close(ends[1]);
  if (process > 0) return {process, ends[0]};
  (void)close(ends[0]);
  return {};
}

bool leave_files() {
  return prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 &&  // other workers can't look into it
         Delivery::confine(memory_of_a_worker, RLIM_INFINITY);
}

}  // namespace Quarrow::WebServer
