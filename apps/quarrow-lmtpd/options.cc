// The options, read by CLI11.
#include "apps/quarrow-lmtpd/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <sstream>

#include "quarrow/delivery/maildir_store.h"

namespace Quarrow::Lmtpd {
namespace {

using Server::LogTarget;

// What CLI11 reads into before it is converted.
struct Raw {
  std::string mode = "0660";
  std::string log = "stderr";
  unsigned seconds = 0;
  unsigned mebibytes = 0;
};

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

std::string host_fault(const std::string& text) {
  const auto is_visible = [](char c) { return c > 32 && c < 127; };
  const bool good = !text.empty() && std::all_of(text.begin(), text.end(), is_visible);
  return good ? "" : "not a host's name, ASCII without blanks: " + text;
}

std::string octal_fault(const std::string& text) {
  const bool good =
      !text.empty() && text.size() <= 4 && text.find_first_not_of("01234567") == std::string::npos;
  return good ? "" : "not a mode such as 0660: " + text;
}

std::string delimiter_fault(const std::string& text) {
  const bool good = text.find_first_not_of("!#$%&*+-./=?^_{|}~") == std::string::npos;
  return good ? "" : "not of the characters !#$%&*+-./=?^_{|}~: " + text;
}

std::string log_fault(const std::string& text) {
  return text == "stderr" || text == "syslog" ? "" : "neither stderr nor syslog: " + text;
}

void declare_places(CLI::App& app, Options& options, Raw& raw) {
  app.set_config("--config", "", "File with more options, a line each: workers=4")
      ->type_name("FILE");
  app.add_option("--listen", options.listen,
                 "Socket: a path, or an address of this host alone and a port")
      ->type_name("SOCKET")
      ->check(emptiness)
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
      ->check(emptiness)
      ->capture_default_str();
  app.add_option("--spool", options.spool, "Folder of messages that are coming in")
      ->type_name("DIR")
      ->check(emptiness)
      ->capture_default_str();
  app.add_option("--host-name", options.host_name, "What the server calls itself")
      ->type_name("NAME")
      ->check(host_fault);
  app.add_option("--recipient-delimiter", options.recipient_delimiter,
                 "Characters of which each begins the extension of an address; none if empty")
      ->type_name("CHARS")
      ->check(delimiter_fault)
      ->capture_default_str();
  app.add_option("--log", raw.log, "Where the log goes")
      ->type_name("stderr|syslog")
      ->check(log_fault)
      ->capture_default_str();
  app.add_option("--metrics", options.metrics, "File to write counters to, on SIGUSR1")
      ->type_name("FILE");
}

void declare_numbers(CLI::App& app, Options& options, Raw& raw) {
  app.add_option("--workers", options.workers, "Connections served at a time")
      ->type_name("N")
      ->transform(whole_number(1, 1000))
      ->capture_default_str();
  app.add_option("--max-size", options.limits.message, "Largest message, in bytes")
      ->type_name("N")
      ->transform(whole_number(1, std::uint64_t{1} << 40U))
      ->capture_default_str();
  app.add_option("--max-line", options.limits.line,
                 "Longest line of a message, in bytes with its line end")
      ->type_name("N")
      ->transform(whole_number(2, std::uint64_t{1} << 40U))
      ->capture_default_str();
  app.add_option("--max-recipients", options.limits.recipients, "Most recipients of a message")
      ->type_name("N")
      ->transform(whole_number(1, 1000000))
      ->capture_default_str();
  app.add_option("--evaluation-time", raw.seconds, "Seconds that rules may take over a message")
      ->type_name("N")
      ->transform(whole_number(1, 600))
      ->capture_default_str();
  app.add_option("--evaluation-memory", raw.mebibytes, "MiB that rules may take for it")
      ->type_name("N")
      ->transform(whole_number(160, 65536))
      ->capture_default_str();
}

}  // namespace

Parsed parse_options(int argc, const char* const* argv) {
  Parsed parsed;
  Options& options = parsed.options;
  options.host_name = Delivery::host_name();
  Raw raw;
  raw.seconds = static_cast<unsigned>(options.evaluation.time.count() / 1000);
  raw.mebibytes = static_cast<unsigned>(options.evaluation.memory >> 20U);
  CLI::App app("Takes mail over LMTP and files it by the recipients' rules.", "quarrow-lmtpd");
  app.set_version_flag("--version", "quarrow-lmtpd " QUARROW_VERSION);
  app.allow_config_extras(CLI::config_extras_mode::error);
  declare_places(app, options, raw);
  declare_numbers(app, options, raw);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    std::ostringstream text;
    (void)app.exit(help, text, text);
    parsed.outcome = Parsed::Outcome::help;
    parsed.text = text.str();
    return parsed;
  } catch (const CLI::FileError& error) {
    parsed.text = std::string("--config: ") + error.what();
    return parsed;
  } catch (const CLI::ConfigError& error) {
    parsed.text = std::string("--config: ") + error.what();
    return parsed;
  } catch (const CLI::ParseError& error) {
    parsed.text = error.what();
    return parsed;
  }
  options.rights.mode = static_cast<mode_t>(std::stoul(raw.mode, nullptr, 8));
  options.log = raw.log == "syslog" ? LogTarget::system_log : LogTarget::standard_error;
  options.evaluation.time = std::chrono::seconds(raw.seconds);
  options.evaluation.memory = std::uint64_t{raw.mebibytes} << 20U;
  parsed.outcome = Parsed::Outcome::run;
  return parsed;
}

}  // namespace Quarrow::Lmtpd
