// The options, read by CLI11.
#include "apps/quarrow-lmtpd/options.h"

#include <CLI/CLI.hpp>
#include <map>
#include <sstream>

#include "delivery/maildir_store.h"

namespace lmtpd {
namespace {

using Quarrow::Lmtp::LogTarget;

constexpr std::size_t most_workers = 1000;

// What CLI11 reads into before it is converted.
struct Raw {
  std::string mode = "0660";
  unsigned seconds = 0;
  unsigned mebibytes = 0;
};

std::string octal_fault(const std::string& text) {
  const bool good =
      !text.empty() && text.size() <= 4 && text.find_first_not_of("01234567") == std::string::npos;
  return good ? "" : "not a mode such as 0660: " + text;
}

void declare_places(CLI::App& app, Options& options, Raw& raw) {
  app.set_config("--config", "", "File with more options, a line each: workers=4")
      ->type_name("FILE");
  app.add_option("--listen", options.listen,
                 "Socket: a path, or an address of this host alone and a port")
      ->type_name("SOCKET")
      ->capture_default_str();
  app.add_option("--socket-mode", raw.mode, "Mode of sockets in the file system")
      ->type_name("MODE")
      ->check(octal_fault)
      ->capture_default_str();
  app.add_option("--socket-group", options.rights.group, "Group of sockets in the file system")
      ->type_name("GROUP");
  app.add_option("--user", options.user, "Whom to run as; must be given to the superuser")
      ->type_name("USER");
  app.add_option("--root", options.root, "Folder of the users' folders")
      ->type_name("DIR")
      ->capture_default_str();
  app.add_option("--spool", options.spool, "Folder of messages that are coming in")
      ->type_name("DIR")
      ->capture_default_str();
  app.add_option("--host-name", options.host_name, "What the server calls itself")
      ->type_name("NAME");
  app.add_option("--metrics", options.metrics, "File to write counters to, on SIGUSR1")
      ->type_name("FILE");
}

void declare_numbers(CLI::App& app, Options& options, Raw& raw) {
  app.add_option("--workers", options.workers, "Connections served at a time")
      ->type_name("N")
      ->check(CLI::Range(std::size_t{1}, most_workers))
      ->capture_default_str();
  app.add_option("--max-size", options.limits.message, "Largest message, in bytes")
      ->type_name("N")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--max-line", options.limits.line,
                 "Longest line of a message, in bytes with its line end")
      ->type_name("N")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--max-recipients", options.limits.recipients, "Most recipients of a message")
      ->type_name("N")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--evaluation-time", raw.seconds, "Seconds that rules may take over a message")
      ->type_name("N")
      ->check(CLI::Range(1U, 600U))
      ->capture_default_str();
  app.add_option("--evaluation-memory", raw.mebibytes, "MiB that rules may take for it")
      ->type_name("N")
      ->check(CLI::Range(160U, 65536U))
      ->capture_default_str();
}

void declare_log(CLI::App& app, Options& options) {
  static const std::map<std::string, LogTarget> targets = {{"stderr", LogTarget::standard_error},
                                                           {"syslog", LogTarget::system_log}};
  app.add_option("--log", options.log, "Where the log goes")
      ->type_name("stderr|syslog")
      ->transform(CLI::CheckedTransformer(targets));
}

}  // namespace

Parsed parse_options(int argc, const char* const* argv) {
  Parsed parsed;
  Options& options = parsed.options;
  options.host_name = Quarrow::Delivery::host_name();
  Raw raw;
  raw.seconds = static_cast<unsigned>(options.evaluation.time.count() / 1000);
  raw.mebibytes = static_cast<unsigned>(options.evaluation.memory >> 20U);
  CLI::App app("Takes mail over LMTP and files it by the recipients' rules.", "quarrow-lmtpd");
  app.set_version_flag("--version", "quarrow-lmtpd " QUARROW_VERSION);
  app.allow_config_extras(CLI::config_extras_mode::error);
  declare_places(app, options, raw);
  declare_numbers(app, options, raw);
  declare_log(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    std::ostringstream text;
    (void)app.exit(help, text, text);
    parsed.outcome = Parsed::Outcome::help;
    parsed.text = text.str();
    return parsed;
  } catch (const CLI::ParseError& error) {
    parsed.text = error.what();
    return parsed;
  }
  options.rights.mode = static_cast<mode_t>(std::stoul(raw.mode, nullptr, 8));
  options.evaluation.time = std::chrono::seconds(raw.seconds);
  options.evaluation.memory = std::uint64_t{raw.mebibytes} << 20U;
  parsed.outcome = Parsed::Outcome::run;
  return parsed;
}

}  // namespace lmtpd
