// The LMTP server: its protocol, its counters and its deliveries. server/daemon.h does the rest.
//
// SECURITY: clients are the mail servers that may open its socket; the server believes them. It
// starts as the superuser only to make sockets, and then becomes the user that the mail belongs to.
// Messages are parsed in the evaluation's helper processes, not here.
#include <syslog.h>
#include <zvelluser.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "apps/quarrow-lmtpd/options.h"
#include "delivery/helper_process.h"
#include "delivery/sandbox.h"
#include "lmtp/delivery_counters.h"
#include "lmtp/delivery_handler.h"
#include "lmtp/inspection.h"
#include "lmtp/session.h"
#include "monitoring/monitor.h"
#include "quarrow/delivery/evaluator.h"
#include "server/daemon.h"
#include "server/log.h"
#include "server/server_program.h"

namespace Quarrow::Lmtpd {
namespace {

using Lmtp::Counter;
using Lmtp::DeliveryHandler;
using Lmtp::Session;

const char program[] = "quarrow-lmtpd";

class LmtpServer {
 public:
  LmtpServer(int argc, const char* const* argv, Options options)
      : argc_(argc), argv_(argv), options_(std::move(options)) {}

  // Serves until it is told to stop; gives the exit status.
  int run() {
    Server::DaemonHooks hooks;
    hooks.prepare = [this] { return prepare(); };
    hooks.inspect = [this] { tell_faults(); };
    hooks.start_worker = [this] { return start_worker(); };
    hooks.reload = [this] { return reload(); };
    hooks.replaced = [this] { counters_.add(Counter::workers_replaced); };
    hooks.monitor = [this](int listener, const auto& health) {
      return Monitoring::monitor(listener, {health, [this] { return counters_.text(); }},
                                 [this] { return Lmtp::fault_of_root(options_.root); });
    };
    return Server::Daemon({program, LOG_MAIL}, options_.server, counters_, std::move(hooks)).run();
  }

 private:
  // Loads what the evaluation needs, for all workers at once; why that failed, if it did.
  std::string prepare() const {
    if (options_.require_landlock && !Delivery::has_landlock())
      return "the kernel offers no Landlock, which --require-landlock asks for";
    try {
      Delivery::prepare_for_helpers();
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  }

  // Clients are asked to try again until the faults are mended, so that no mail is lost.
  void tell_faults() const {
    if (!Delivery::has_landlock())
      Server::log_warning(
          "the kernel offers no Landlock: a message that took the evaluation of rules over could "
          "read all files that the server's user may read; --require-landlock refuses to start");
    for (const std::string& fault : Lmtp::faults_of(options_.root, options_.spool))
      Server::log_error(fault);
  }

  Server::NewClientProtocol start_worker() {
    mailuser_set_root(options_.root);
    const auto evaluator = std::make_shared<Delivery::Evaluator>(options_.evaluation);
    const auto evaluate = [evaluator](int fd, std::uint64_t size, std::time_t received,
                                      const std::string& script) {
      return evaluator->evaluate(fd, size, received, script);
    };
    return [this, evaluate](const std::string& client, Server::Output output,
                            const Server::OthersWait&) {
      const Lmtp::Places places{options_.root,
                                options_.spool,
                                options_.host_name,
                                options_.recipient_delimiter,
                                options_.address_case,
                                options_.folder_dots,
                                options_.limits.in_memory,
                                options_.keeps_journal};
      auto handler = std::make_unique<DeliveryHandler>(places, evaluate, counters_, client);
      return std::make_unique<Session>(std::move(handler), options_.limits, options_.host_name,
                                       std::move(output));
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
  Lmtp::DeliveryCounters counters_;
};

int run_lmtpd(int argc, char** argv) {
  return Server::run_program<LmtpServer>(program, argc, argv, parse_options, complete_options);
}

}  // namespace
}  // namespace Quarrow::Lmtpd

int main(int argc, char** argv) { return Quarrow::Lmtpd::run_lmtpd(argc, argv); }
