// The options, read by CLI11.
#include "apps/quarrow-homes/homes_options.h"

#include <CLI/CLI.hpp>

#include "completion/answer.h"
#include "server/daemon_options.h"

namespace Quarrow::HomesServer {
namespace {

void declare_homes(CLI::App& app, Options& options) {
  app.add_option("--homes", options.homes, "File with the table of users' homes")
      ->type_name("FILE")
      ->check(Server::emptiness)
      ->capture_default_str();
  app.add_option("--recipient-delimiter", options.reading.delimiters,
                 "Characters of which each begins the extension of an address; none if empty")
      ->type_name("CHARS")
      ->check(Delivery::delimiter_fault)
      ->capture_default_str();
  app.add_flag_callback(
      "--keep-case", [&options] { options.reading.address_case = Delivery::AddressCase::kept; },
      "Tell capitals in users' addresses from small letters");
}

void declare(CLI::App& app, Options& options, Server::DaemonOptions& written) {
  app.set_version_flag("--version", "quarrow-homes " QUARROW_VERSION);
  app.set_config("--config", "", "File with more options, a line each: workers=4")
      ->type_name("FILE");
  app.allow_config_extras(CLI::config_extras_mode::error);
  written.declare_sockets(app);
  declare_homes(app, options);
  written.declare_records(app);
  written.declare_clients(app);
}

}  // namespace

// Clients keep connections that they do not use, and wait for an answer with mail in their hands.
Options::Options() : server{{"/run/quarrow/homes"}} {
  server.workers = 20;
  server.patience = {std::chrono::seconds(60), std::chrono::seconds(120), std::chrono::seconds(1)};
}

Parsed parse_options(int argc, const char* const* argv) {
  Parsed parsed;
  Server::DaemonOptions written(parsed.options.server);
  CLI::App app("Tells a mail server which node each user lives on.", "quarrow-homes");
  declare(app, parsed.options, written);
  const auto finish = [&] {
    written.convert();
    return std::string();
  };
  Server::read_command_line(app, argc, argv, finish, parsed);
  return parsed;
}

void complete_options(const std::vector<std::string>& request, std::ostream& out) {
  Options options;
  Server::DaemonOptions written(options.server);
  CLI::App app("", "quarrow-homes");
  declare(app, options, written);
  Completion::answer_for_options(app, request, out);
}

}  // namespace Quarrow::HomesServer
