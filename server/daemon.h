// A server program, whatever protocol it speaks: from its start to its end.
#ifndef QUARROW_SERVER_DAEMON_H_
#define QUARROW_SERVER_DAEMON_H_

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "server/connection.h"
#include "server/counters.h"
#include "server/deadline.h"
#include "server/health.h"
#include "server/listener.h"
#include "server/log.h"
#include "server/open_connections.h"
#include "server/protocol.h"
#include "server/shared_status.h"

namespace Quarrow::Server {

// Settings that any server has.
struct DaemonSettings {
  // These stand until the server is started anew.
  std::vector<std::string> listen = {};  // addresses as listen_at takes them
  std::string health = {};   // address of the socket that answers inquiries; empty: none
  std::string monitor = {};  // address of the socket that answers over HTTP; empty: none
  SocketRights rights = {};
  std::string user = {};      // name of the user to run as; empty: the user that started the server
  bool behind_proxy = false;  // each connection begins with a proxy's header: see proxy_header.h

  // These may change with a reload.
  std::size_t workers = 10;                // connections that are served at a time
  Patience patience = {};                  // with each client
  std::size_t clients_per_address = 1000;  // over TCP, that are served at a time
  LogTarget log = LogTarget::standard_error;
  std::string metrics = {};  // path of the file to write counters to; empty: none
};

// The server's own part in the daemon's events.
struct DaemonHooks {
  // With the sockets open, before the server becomes the user to run as: starts what keeps the
  // rights of the one who started it. Gives the reason why that can't be, or why it can't serve at
  // these sockets, which clients connect to; else nothing. May be empty.
  std::function<std::string(const std::vector<int>& listeners)> keep_rights = {};
  // Before the first worker starts, as the user to run as: loads what all workers need. Gives the
  // reason why the server can't serve, or nothing.
  std::function<std::string()> prepare;
  // In a process of its own, when the server started and after each reload: logs what will keep
  // workers from their work. It may take its time.
  std::function<void()> inspect;
  // In each worker, before its first connection: gives the maker of its conversations.
  std::function<NewClientProtocol()> start_worker;
  // SIGHUP: gives the settings from here on, or nothing when all stays as it is. Then the hook has
  // logged the reason.
  std::function<std::optional<DaemonSettings>()> reload;
  // A worker ended unasked.
  std::function<void()> replaced;
  // A process that the server started ended, be it a worker or another one. May be empty.
  std::function<void(pid_t)> ended = {};
  // In the monitor, a process of its own, which has no other descriptor than the socket `listener`
  // and one that `health` needs: answers at the socket until SIGTERM. Gives the exit status.
  std::function<int(int listener, const std::function<Health()>& health)> monitor = {};
};

// Opens the sockets, becomes the user and serves with workers under a supervisor.
class Daemon {
 public:
  // `origin` also names the program in complaints. `counters` outlives this object.
  Daemon(LogOrigin origin, DaemonSettings settings, const Counters& counters, DaemonHooks hooks);

  // Serves until SIGTERM or SIGINT. Gives the exit status (sysexits.h): EX_OK after that; when the
  // server could not start, another one, after a complaint to standard error. In a worker it does
  // not return.
  int run();

 private:
  std::string open_sockets();
  std::string open_listeners();
  std::string open_at(const std::string& address, int& fd);
  std::string open_monitor();
  void remove_sockets() const;
  int complain(const std::string& reason, int status) const;
  void supervise();
  int work();
  int monitor();
  Health health(bool others_wait) const;
  void serve_client(int connection, const NewClientProtocol& new_protocol, const StopSignal& stop,
                    const Courtesy& courtesy);
  void serve_origin(int connection, Origin origin, const NewProtocol& new_protocol,
                    const StopSignal& stop, const Courtesy& courtesy);
  std::optional<std::size_t> reload();
  void write_counters() const;

  const LogOrigin origin_;
  DaemonSettings settings_;
  const Counters& counters_;
  const DaemonHooks hooks_;
  const bool behind_proxy_;
  OpenConnections connections_;
  SharedStatus status_;
  Clock::time_point start_;
  std::vector<int> listeners_;        // until the process ends
  int inquiries_ = -1;                // likewise; negative: none
  int monitor_ = -1;                  // likewise
  std::vector<std::string> sockets_;  // of these, the paths that were made here
};

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_DAEMON_H_
