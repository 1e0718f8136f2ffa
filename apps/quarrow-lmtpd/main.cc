// The LMTP server: sockets, then rights given up, then workers under a supervisor.
//
// SECURITY: clients are the mail servers that may open its socket; it believes what they say. It
// starts as the superuser only to make sockets, and then becomes the user that the mail belongs to.
// Messages are parsed in the evaluation's helper processes, not here.
#include <sysexits.h>
#include <unistd.h>
#include <zvelluser.h>

#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "apps/quarrow-lmtpd/options.h"
#include "delivery/helper_process.h"
#include "lmtp/delivery_counters.h"
#include "lmtp/delivery_handler.h"
#include "quarrow/delivery/evaluator.h"
#include "server/connection.h"
#include "server/log.h"
#include "server/privileges.h"
#include "server/service_manager.h"
#include "server/supervisor.h"
#include "server/worker.h"

namespace Quarrow::Lmtpd {
namespace {

using Delivery::Evaluator;
using Lmtp::DeliveryHandler;
using Lmtp::Places;
using namespace Server;

int complain(const std::string& reason, int status) {
  std::cerr << "quarrow-lmtpd: " << reason << '\n';
  return status;
}

class Daemon {
 public:
  Daemon(int argc, const char* const* argv, Options options)
      : argc_(argc), argv_(argv), options_(std::move(options)) {}

  int run() {
    if (const std::string reason = refusal_to_serve_as(options_.user); !reason.empty())
      return complain(reason, EX_NOPERM);
    if (const std::string reason = open_listeners(); !reason.empty())
      return complain(reason, EX_OSERR);
    if (const std::string reason = become(options_.user); !reason.empty())
      return complain(reason, EX_NOPERM);
    apply();
    if (const std::string reason = prepare(); !reason.empty()) {
      remove_sockets();
      return complain(reason, EX_UNAVAILABLE);
    }
    SupervisorHooks hooks;
    hooks.work = [this] { return work(); };
    hooks.reload = [this] { return reload(); };
    hooks.write_metrics = [this] { write_metrics(); };
    hooks.replaced = [this] { metrics_.add(Lmtp::Counter::workers_replaced); };
    Supervisor supervisor(options_.workers, std::move(hooks));
    log_info("serving with " + std::to_string(options_.workers) + " workers");
    supervisor.run();
    remove_sockets();
    log_info("stopped");
    return EX_OK;
  }

 private:
  // Sockets that the service manager made take the place of those that are asked for.
  std::string open_listeners() {
    listeners_ = inherited_listeners();
    if (!listeners_.empty()) return "";
    for (const std::string& address : options_.listen) {
      const Listener listener = listen_at(address, options_.rights);
      if (listener.fd < 0) return listener.reason;
      listeners_.push_back(listener.fd);
      if (address.front() == '/') sockets_.push_back(address);
    }
    return "";
  }

  // Not everyone may remove from the folder that they are in; the next server replaces them.
  void remove_sockets() const {
    for (const std::string& path : sockets_) (void)unlink(path.c_str());
  }

  void apply() {
    set_log(options_.log);
    mailuser_set_root(options_.root);
  }

  // Loads what the evaluation needs, for all workers at once; why that failed, if it did.
  static std::string prepare() {
    try {
      Delivery::prepare_for_helpers();
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  }

  int work() {
    const StopSignal stop;
    Evaluator evaluator(options_.evaluation);
    const auto evaluate = [&evaluator](int fd, std::uint64_t size, std::time_t received,
                                       const std::string& script) {
      return evaluator.evaluate(fd, size, received, script);
    };
    const Places places{options_.root, options_.spool, options_.host_name,
                        options_.recipient_delimiter};
    serve(listeners_, stop, [&](int connection) {
      DeliveryHandler handler(places, evaluate, metrics_);
      const auto new_session = [&](Output output) {
        return std::make_unique<Lmtp::Session>(handler, options_.limits, options_.host_name,
                                               std::move(output));
      };
      converse(connection, new_session, stop);
    });
    return EX_OK;
  }

  std::optional<std::size_t> reload() {
    Parsed parsed = parse_options(argc_, argv_);
    if (parsed.outcome != Parsed::Outcome::run) {
      log_error("nothing was reloaded: " + parsed.text);
      return std::nullopt;
    }
    options_ = std::move(parsed.options);
    apply();
    log_info("reloaded; serving with " + std::to_string(options_.workers) + " workers");
    return options_.workers;
  }

  void write_metrics() {
    if (options_.metrics.empty()) return log_warning("no file for counters: see --metrics");
    const std::string reason = metrics_.write(options_.metrics);
    if (!reason.empty()) log_error(reason);
  }

  const int argc_;
  const char* const* const argv_;
  Options options_;
  std::vector<int> listeners_;        // until the process ends
  std::vector<std::string> sockets_;  // of these, the paths that were made here
  Lmtp::DeliveryCounters metrics_;
};

int run_lmtpd(int argc, char** argv) {
  Parsed parsed = parse_options(argc, argv);
  switch (parsed.outcome) {
    case Parsed::Outcome::help:
      std::cout << parsed.text << std::flush;
      return std::cout ? EX_OK : EX_IOERR;
    case Parsed::Outcome::wrong:
      return complain(parsed.text + "; see quarrow-lmtpd --help", EX_USAGE);
    case Parsed::Outcome::run:
      break;
  }
  return Daemon(argc, argv, std::move(parsed.options)).run();
}

}  // namespace
}  // namespace Quarrow::Lmtpd

int main(int argc, char** argv) { return Quarrow::Lmtpd::run_lmtpd(argc, argv); }
