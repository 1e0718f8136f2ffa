// Sockets, then rights given up, then workers under a supervisor.
#include "server/daemon.h"

#include <sysexits.h>
#include <unistd.h>

#include <iostream>
#include <utility>

#include "server/connection.h"
#include "server/privileges.h"
#include "server/service_manager.h"
#include "server/supervisor.h"
#include "server/worker.h"

namespace Quarrow::Server {

Daemon::Daemon(LogOrigin origin, DaemonSettings settings, const Counters& counters,
               DaemonHooks hooks)
    : origin_(std::move(origin)),
      settings_(std::move(settings)),
      counters_(counters),
      hooks_(std::move(hooks)) {}

int Daemon::run() {
  if (const std::string reason = refusal_to_serve_as(settings_.user); !reason.empty())
    return complain(reason, EX_NOPERM);
  if (const std::string reason = open_listeners(); !reason.empty())
    return complain(reason, EX_OSERR);
  if (const std::string reason = become(settings_.user); !reason.empty())
    return complain(reason, EX_NOPERM);
  set_log(origin_, settings_.log);
  if (const std::string reason = hooks_.prepare(); !reason.empty()) {
    remove_sockets();
    return complain(reason, EX_UNAVAILABLE);
  }
  supervise();
  remove_sockets();
  log_info("stopped");
  return EX_OK;
}

// Sockets that the service manager made take the place of those that are asked for.
std::string Daemon::open_listeners() {
  listeners_ = inherited_listeners();
  if (!listeners_.empty()) return "";
  for (const std::string& address : settings_.listen) {
    const Listener listener = listen_at(address, settings_.rights);
    if (listener.fd < 0) return listener.reason;
    listeners_.push_back(listener.fd);
    if (address.front() == '/') sockets_.push_back(address);
  }
  return "";
}

// Not everyone may remove from the folder that they are in; the next server replaces them.
void Daemon::remove_sockets() const {
  for (const std::string& path : sockets_) (void)unlink(path.c_str());
}

int Daemon::complain(const std::string& reason, int status) const {
  std::cerr << origin_.program << ": " << reason << '\n';
  return status;
}

void Daemon::supervise() {
  SupervisorHooks hooks;
  hooks.work = [this] { return work(); };
  hooks.reload = [this] { return reload(); };
  hooks.write_counters = [this] { write_counters(); };
  hooks.replaced = hooks_.replaced;
  Supervisor supervisor(settings_.workers, std::move(hooks));
  log_info("serving with " + std::to_string(settings_.workers) + " workers");
  supervisor.run();
}

int Daemon::work() const {
  const StopSignal stop;
  const NewProtocol new_protocol = hooks_.start_worker();
  const Courtesy courtesy{settings_.patience, [this] { return is_anyone_waiting(listeners_); }};
  serve(listeners_, stop,
        [&](int connection) { converse(connection, new_protocol, stop, courtesy); });
  return EX_OK;
}

std::optional<std::size_t> Daemon::reload() {
  auto settings = hooks_.reload();
  if (!settings) return std::nullopt;
  settings_ = std::move(*settings);
  set_log(origin_, settings_.log);
  log_info("reloaded; serving with " + std::to_string(settings_.workers) + " workers");
  return settings_.workers;
}

void Daemon::write_counters() const {
  if (settings_.metrics.empty()) return log_warning("no file for counters: see --metrics");
  const std::string reason = counters_.write(settings_.metrics);
  if (!reason.empty()) log_error(reason);
}

}  // namespace Quarrow::Server
