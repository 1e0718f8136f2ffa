// Sockets, then rights given up, then workers under a supervisor.
#include "server/daemon.h"

#include <sysexits.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <utility>

#include "server/health.h"
#include "server/limits.h"
#include "server/privileges.h"
#include "server/proxied_client.h"
#include "server/service_manager.h"
#include "server/supervisor.h"
#include "server/worker.h"
#include "system/inheritance.h"

namespace Quarrow::Server {

Daemon::Daemon(LogOrigin origin, DaemonSettings settings, const Counters& counters,
               DaemonHooks hooks)
    : origin_(std::move(origin)),
      settings_(std::move(settings)),
      counters_(counters),
      hooks_(std::move(hooks)),
      behind_proxy_(settings_.behind_proxy),
      start_(Clock::now()) {}

int Daemon::run() {
  if (const std::string reason = refusal_to_serve_as(settings_.user); !reason.empty())
    return complain(reason, EX_NOPERM);
  if (const std::string reason = open_sockets(); !reason.empty()) return complain(reason, EX_OSERR);
  const std::string kept = hooks_.keep_rights ? hooks_.keep_rights(listeners_) : "";
  if (!kept.empty()) {
    remove_sockets();
    return complain(kept, EX_UNAVAILABLE);
  }
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

std::string Daemon::open_sockets() {
  if (std::string reason = open_listeners(); !reason.empty()) return reason;
  if (std::string reason = open_monitor(); !reason.empty()) return reason;
  return settings_.health.empty() ? "" : open_at(settings_.health, inquiries_);
}

// Sockets that the service manager made take the place of those that are asked for.
std::string Daemon::open_listeners() {
  const InheritedListeners inherited = inherited_listeners();
  listeners_ = inherited.clients;
  monitor_ = inherited.monitor;
  if (behind_proxy_ && !std::all_of(listeners_.begin(), listeners_.end(), is_of_this_host_alone))
    return "any host can pass for the proxy at a socket that the service manager passed";
  if (!listeners_.empty()) return "";
  for (const std::string& address : settings_.listen) {
    int fd = -1;
    if (const std::string reason = open_at(address, fd); !reason.empty()) return reason;
    listeners_.push_back(fd);
  }
  return "";
}

std::string Daemon::open_at(const std::string& address, int& fd) {
  const Listener listener = listen_at(address, settings_.rights);
  fd = listener.fd;
  if (fd >= 0 && address.front() == '/') sockets_.push_back(address);
  return listener.reason;
}

std::string Daemon::open_monitor() {
  if (monitor_ < 0) return settings_.monitor.empty() ? "" : open_at(settings_.monitor, monitor_);
  if (is_of_this_host_alone(monitor_)) return "";
  return "the monitor's socket has an address that other hosts reach";
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
  hooks.inspect = hooks_.inspect;
  hooks.reload = [this] { return reload(); };
  hooks.write_counters = [this] { write_counters(); };
  hooks.ended = [this](pid_t process) {
    connections_.remove(process);
    if (hooks_.ended) hooks_.ended(process);
  };
  hooks.replaced = hooks_.replaced;
  hooks.answer_inquiry = [this] {
    answer_at(inquiries_, text_of(health(is_anyone_waiting(listeners_))));
  };
  hooks.inquiries = inquiries_;
  if (monitor_ >= 0) hooks.monitor = [this] { return monitor(); };
  Supervisor supervisor(settings_.workers, std::move(hooks), status_);
  log_info("serving with " + std::to_string(settings_.workers) + " workers");
  supervisor.run();
}

int Daemon::work() {
  connections_.hide_from_children();
  const StopSignal stop;
  const NewClientProtocol new_protocol = hooks_.start_worker();
  const Courtesy courtesy{settings_.patience, [this] { return is_anyone_waiting(listeners_); }};
  serve(listeners_, stop,
        [&](int connection) { serve_client(connection, new_protocol, stop, courtesy); });
  return EX_OK;
}

// A connection counts from its beginning on: what comes first is a proxy's, and may take a while.
void Daemon::serve_client(int connection, const NewClientProtocol& new_protocol,
                          const StopSignal& stop, const Courtesy& courtesy) {
  Origin origin = origin_of(connection);
  connections_.add(getpid(), origin);
  ProxiedClient client;
  if (behind_proxy_)
    client = take_proxy_header(connection, stop, Clock::now() + longest_introduction);
  if (!client.address.empty()) {
    origin = origin_of(client.address);
    connections_.remove(getpid());
    connections_.add(getpid(), origin);
  }
  const auto named_protocol = [&](Output output, const OthersWait& others_wait) {
    return new_protocol(client.address, std::move(output), others_wait);
  };
  if (client.fault.empty())
    serve_origin(connection, origin, named_protocol, stop, courtesy);
  else
    log_warning("a connection was ended: " + client.fault);
  connections_.remove(getpid());
}

void Daemon::serve_origin(int connection, Origin origin, const NewProtocol& new_protocol,
                          const StopSignal& stop, const Courtesy& courtesy) {
  if (origin != from_file_system && connections_.count_from(origin) > settings_.clients_per_address)
    turn_away(connection, new_protocol, stop, courtesy);
  else
    converse(connection, new_protocol, stop, courtesy);
}

// The monitor sees whether clients wait, but has no socket that it could take one from.
int Daemon::monitor() {
  const int clients = any_of(listeners_);
  if (clients < 0 || !keep_descriptors({monitor_, clients})) return EX_OSERR;
  return hooks_.monitor(first_kept_descriptor,
                        [this] { return health(is_anyone_waiting({first_kept_descriptor + 1})); });
}

Health Daemon::health(bool others_wait) const {
  const auto uptime = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start_);
  return {status_.workers(), connections_.count(), others_wait, uptime, status_.is_stopping()};
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
  if (settings_.metrics.empty())
    return log_warning("the counters were asked for, but no file for them is named");
  const std::string reason = counters_.write(settings_.metrics);
  if (!reason.empty()) log_error(reason);
}

}  // namespace Quarrow::Server
