// The server that tells homes: its protocol, its maps and its counters. server/daemon.h does the
// rest.
//
// SECURITY: clients are the mail servers that may open its socket. It reads one file and writes
// none; it starts as the superuser only to make sockets, and then becomes another user.
#include <syslog.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "apps/quarrow-homes/homes_options.h"
#include "homes/home_counters.h"
#include "homes/home_lookup.h"
#include "homes/home_maps.h"
#include "homes/socketmap_session.h"
#include "monitoring/monitor.h"
#include "server/daemon.h"
#include "server/log.h"
#include "server/server_program.h"

namespace Quarrow::HomesServer {
namespace {

using Homes::HomeCounter;

const char program[] = "quarrow-homes";

class HomesServer {
 public:
  HomesServer(int argc, const char* const* argv, Options options)
      : argc_(argc), argv_(argv), options_(std::move(options)) {}

  // Serves until it is told to stop; gives the exit status.
  int run() {
    Server::DaemonHooks hooks;
    hooks.prepare = [this] { return prepare(); };
    hooks.inspect = [this] { tell_fault(); };
    hooks.start_worker = [this] { return start_worker(); };
    hooks.reload = [this] { return reload(); };
    hooks.replaced = [this] { counters_.add(HomeCounter::workers_replaced); };
    hooks.monitor = [this](int listener, const auto& health) {
      return Monitoring::monitor(listener, {health, [this] { return counters_.text(); }},
                                 [this] { return Homes::fault_of_table(options_.homes); });
    };
    return Server::Daemon({program, LOG_MAIL}, options_.server, counters_, std::move(hooks)).run();
  }

 private:
  // Loads SQLite, for all workers at once. A table that is missing may come: until then, clients
  // are asked to try again.
  std::string prepare() const {
    try {
      (void)Homes::fault_of_table(options_.homes);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  }

  void tell_fault() const {
    const std::string fault = Homes::fault_in_table(options_.homes);
    if (!fault.empty()) Server::log_error(fault);
  }

  Server::NewClientProtocol start_worker() {
    const auto maps = std::make_shared<Homes::HomeMaps>(
        Homes::HomeLookup(options_.homes, options_.reading), counters_);
    return [maps](const std::string& /*client*/, Server::Output output,
                  const Server::OthersWait& others_wait) {
      return std::make_unique<Homes::SocketmapSession>(
          [maps](const std::string& request) { return maps->answer(request); }, std::move(output),
          others_wait);
    };
  }

  std::optional<Server::DaemonSettings> reload() {
    auto read = Server::options_to_reload(parse_options(argc_, argv_));
    if (!read) return std::nullopt;
    options_ = std::move(*read);
    return options_.server;
  }

  const int argc_;
  const char* const* const argv_;
  Options options_;
  Homes::HomeCounters counters_;
};

int run_homes(int argc, char** argv) {
  return Server::run_program<HomesServer>(program, argc, argv, parse_options, complete_options);
}

}  // namespace
}  // namespace Quarrow::HomesServer

int main(int argc, char** argv) { return Quarrow::HomesServer::run_homes(argc, argv); }
