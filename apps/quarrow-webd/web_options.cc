// The options, read by CLI11.
#include "apps/quarrow-webd/web_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdint>

#include "completion/answer.h"
#include "delivery/folder_name.h"
#include "server/daemon_options.h"

namespace Quarrow::Webd {
namespace {

using Server::declare_number;

void declare_users(CLI::App& app, Options& options) {
  app.add_option("--root", options.root, "Folder of the users' folders")
      ->type_name("DIR")
      ->check(Server::emptiness)
      ->capture_default_str();
  app.add_option("--catalogue", options.catalogue, "The system's catalogue of fields")
      ->type_name("FILE")
      ->check(Server::emptiness)
      ->capture_default_str();
  app.add_option("--page", options.page,
                 "Folder of the page's files, in place of those that were installed")
      ->type_name("DIR")
      ->check(Server::emptiness);
  app.add_option_function<std::string>(
         "--folder-dots",
         [&options](const std::string& word) {
           options.folder_dots = Delivery::folder_dots_of(word);
         },
         "Folders with a dot in the name: as delivery is told")
      ->type_name("inbox|listescape")
      ->check(Delivery::folder_dots_fault)
      ->default_str("inbox");
  app.add_option("--imap", options.imap.url,
                 "IMAP server that checks passwords: imaps://HOST, or imap://HOST for STARTTLS")
      ->type_name("URL")
      ->check(SigningIn::server_fault);
  app.add_option("--imap-ca", options.imap.ca_file,
                 "File of the authorities that may certify the IMAP server")
      ->type_name("FILE")
      ->check(Server::emptiness);
  app.add_flag("--trust-proxy-user", options.trusts_proxy_user,
               "Take the header X-Quarrow-User for a name that the proxy has checked; for sockets "
               "in the file system only");
}

void declare_limits(CLI::App& app, Options& options, std::int64_t& seconds) {
  declare_number(app, "--max-header", options.http.header, "Longest header of a request, in bytes",
                 1024, 1048576);
  declare_number(app, "--max-body", options.http.body, "Largest body of a request, in bytes", 1024,
                 1048576);
  declare_number(app, "--max-calls", options.work.children, "Requests worked on at a time", 1,
                 1000);
  declare_number(app, "--max-calls-per-user", options.work.children_per_user,
                 "Requests of one user worked on at a time", 1, 1000);
  declare_number(app, "--request-time", seconds, "Seconds that a request may take", 1, 600);
}

// A worker waits with its call: whoever makes many calls at a time, and a password server that
// hangs, leave half of the workers for others.
std::size_t calls_per_user(const Options& options) {
  return std::max(options.work.children_per_user, options.server.workers / 2);
}

// Why the settings do not go together; empty when they do.
std::string fault_of(const Options& options) {
  const auto& listen = options.server.listen;
  const auto address = std::find_if(listen.begin(), listen.end(), [](const std::string& socket) {
    return socket.front() != '/';
  });
  if (options.trusts_proxy_user && address != listen.end())
    return "--trust-proxy-user: any program of this host can pass for the proxy at " + *address;
  if (!options.trusts_proxy_user && options.imap.url.empty())
    return "nobody could sign in: name a server with --imap, or use --trust-proxy-user";
  return "";
}

// Settings in the form in which they are written.
struct Written {
  explicit Written(Options& options)
      : server(options.server),
        seconds(std::chrono::ceil<std::chrono::seconds>(options.work.time).count()) {}

  void convert(Options& options) const {
    server.convert();
    options.work.time = std::chrono::seconds(seconds);
    options.work.calls_per_user = calls_per_user(options);
  }

  Server::DaemonOptions server;
  std::int64_t seconds;
};

void declare(CLI::App& app, Options& options, Written& written) {
  app.set_version_flag("--version", "quarrow-webd " QUARROW_VERSION);
  app.set_config("--config", "", "File with more options, a line each: workers=4")
      ->type_name("FILE");
  app.allow_config_extras(CLI::config_extras_mode::error);
  written.server.declare_sockets(app);
  declare_users(app, options);
  written.server.declare_records(app);
  written.server.declare_clients(app);
  declare_limits(app, options, written.seconds);
}

}  // namespace

Options::Options() : server{{"/run/quarrow-webd/socket"}} {
  server.workers = 20;
  server.patience = {std::chrono::seconds(60), std::chrono::seconds(120), std::chrono::seconds(5)};
}

Parsed parse_options(int argc, const char* const* argv) {
  Parsed parsed;
  Written written(parsed.options);
  CLI::App app("Serves the page where mail users look after their rules.", "quarrow-webd");
  declare(app, parsed.options, written);
  const auto finish = [&] {
    written.convert(parsed.options);
    return fault_of(parsed.options);
  };
  Server::read_command_line(app, argc, argv, finish, parsed);
  return parsed;
}

void complete_options(const std::vector<std::string>& request, std::ostream& out) {
  Options options;
  Written written(options);
  CLI::App app("", "quarrow-webd");
  declare(app, options, written);
  Completion::answer_for_options(app, request, out);
}

}  // namespace Quarrow::Webd
