// The options, in the forms in which administrators write them.
#include "server/daemon_options.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <map>

namespace Quarrow::Server {
namespace {

const std::map<std::string, LogTarget> logs = {{"stderr", LogTarget::standard_error},
                                               {"syslog", LogTarget::system_log}};

std::string name_of(LogTarget target) {
  return std::find_if(
             logs.begin(), logs.end(), [target](const auto& log) { return log.second == target; })
      ->first;
}

std::string octal(mode_t mode) {
  char text[16];
  (void)std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(mode));
  return text;
}

std::string octal_fault(const std::string& text) {
  const bool good =
      !text.empty() && text.size() <= 4 && text.find_first_not_of("01234567") == std::string::npos;
  return good ? "" : "not a mode such as 0660: " + text;
}

std::string log_fault(const std::string& text) {
  return logs.count(text) > 0 ? "" : "neither stderr nor syslog: " + text;
}

}  // namespace

// Checks a whole number, and takes zeros off its front: CLI11 would read it as an octal one.
CLI::Validator whole_number(std::uint64_t least, std::uint64_t most) {
  const std::string range = std::to_string(least) + " to " + std::to_string(most);
  const auto fault = [least, most, range](std::string& text) -> std::string {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || number < least || number > most)
      return "not a whole number from " + range + ": " + text;
    text = std::to_string(number);
    return "";
  };
  return {fault, range};
}

std::string emptiness(const std::string& text) { return text.empty() ? "must not be empty" : ""; }

DaemonOptions::DaemonOptions(DaemonSettings& settings)
    : settings_(settings),
      mode_(octal(settings.rights.mode)),
      log_(name_of(settings.log)),
      silence_(settings.patience.silence.count()),
      transaction_(settings.patience.transaction.count()),
      when_busy_(settings.patience.when_busy.count()) {}

void DaemonOptions::declare_sockets(CLI::App& app) {
  app.add_option("--listen", settings_.listen,
                 "Socket for clients: a path, or an address of this host alone and a port")
      ->type_name("SOCKET")
      ->check(emptiness)
      ->capture_default_str();
  app.add_option("--socket-mode", mode_, "Mode of sockets in the file system")
      ->type_name("MODE")
      ->check(octal_fault)
      ->capture_default_str();
  app.add_option("--socket-group", settings_.rights.group, "Group of sockets in the file system")
      ->type_name("GROUP");
  app.add_option("--health", settings_.health,
                 "Socket, like that of --listen, that tells how busy the server is")
      ->type_name("SOCKET")
      ->check(emptiness);
  app.add_option("--monitor", settings_.monitor,
                 "Socket, like that of --listen, that tells health and counters over HTTP")
      ->type_name("SOCKET")
      ->check(emptiness);
  app.add_option("--user", settings_.user,
                 "User to run as; needed when the superuser starts the server")
      ->type_name("USER");
}

void DaemonOptions::declare_records(CLI::App& app) {
  app.add_option("--log", log_, "Destination of the log")
      ->type_name("stderr|syslog")
      ->check(log_fault)
      ->capture_default_str();
  app.add_option("--metrics", settings_.metrics,
                 "File that the counters are written to, on SIGUSR1")
      ->type_name("FILE");
}

void DaemonOptions::declare_clients(CLI::App& app) {
  declare_number(app, "--workers", settings_.workers, "Connections served at a time", 1, 1000);
  declare_number(app, "--client-patience", silence_,
                 "Seconds that a client may be silent, or take no answers", 1, 86400);
  declare_number(app, "--transaction-time", transaction_,
                 "Seconds that a client may take from one message to the end of the next", 1,
                 86400);
  declare_number(app, "--busy-patience", when_busy_,
                 "Seconds to wait for a client while others wait for a worker", 1, 86400);
  declare_number(app, "--max-clients-per-address", settings_.clients_per_address,
                 "Most connections from one address that are served at a time over TCP", 1, 1000);
}

void DaemonOptions::convert() const {
  settings_.rights.mode = static_cast<mode_t>(std::stoul(mode_, nullptr, 8));
  settings_.log = logs.at(log_);
  settings_.patience = {std::chrono::seconds(silence_), std::chrono::seconds(transaction_),
                        std::chrono::seconds(when_busy_)};
}

}  // namespace Quarrow::Server
