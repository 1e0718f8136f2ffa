// The options, read by CLI11.
#include "apps/quarrow-lmtpd/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <map>
#include <sstream>

#include "completion/answer.h"
#include "delivery/folder_name.h"
#include "quarrow/delivery/maildir_store.h"

namespace Quarrow::Lmtpd {
namespace {

using Server::LogTarget;

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

// Settings in the form in which they are written.
struct Written {
  explicit Written(const Options& options)
      : mode(octal(options.server.rights.mode)),
        log(name_of(options.server.log)),
        silence(options.server.patience.silence.count()),
        transaction(options.server.patience.transaction.count()),
        when_busy(options.server.patience.when_busy.count()),
        seconds(std::chrono::duration_cast<std::chrono::seconds>(options.evaluation.time).count()),
        mebibytes(options.evaluation.memory >> 20U) {}

  void convert(Options& options) const {
    options.server.rights.mode = static_cast<mode_t>(std::stoul(mode, nullptr, 8));
    options.server.log = logs.at(log);
    options.server.patience = {std::chrono::seconds(silence), std::chrono::seconds(transaction),
                               std::chrono::seconds(when_busy)};
    options.evaluation.time = std::chrono::seconds(seconds);
    options.evaluation.memory = mebibytes << 20U;
  }

  std::string mode;
  std::string log;
  std::chrono::seconds::rep silence;
  std::chrono::seconds::rep transaction;
  std::chrono::seconds::rep when_busy;
  std::chrono::seconds::rep seconds;
  std::uint64_t mebibytes;
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

std::string log_fault(const std::string& text) {
  return logs.count(text) > 0 ? "" : "neither stderr nor syslog: " + text;
}

void declare_sockets(CLI::App& app, Options& options, Written& written) {
  app.add_option("--listen", options.server.listen,
                 "Socket for clients: a path, or an address of this host alone and a port")
      ->type_name("SOCKET")
      ->check(emptiness)
      ->capture_default_str();
  app.add_option("--socket-mode", written.mode, "Mode of sockets in the file system")
      ->type_name("MODE")
      ->check(octal_fault)
      ->capture_default_str();
  app.add_option("--socket-group", options.server.rights.group,
                 "Group of sockets in the file system")
      ->type_name("GROUP");
  app.add_option("--health", options.server.health,
                 "Socket, like that of --listen, that tells how busy the server is")
      ->type_name("SOCKET")
      ->check(emptiness);
  app.add_option("--user", options.server.user,
                 "User to run as; needed when the superuser starts the server")
      ->type_name("USER");
}

void declare_mail(CLI::App& app, Options& options) {
  app.add_option("--root", options.root, "Folder of the users' folders")
      ->type_name("DIR")
      ->check(emptiness)
      ->capture_default_str();
  app.add_option("--spool", options.spool, "Folder of large messages that are coming in")
      ->type_name("DIR")
      ->check(emptiness)
      ->capture_default_str();
  app.add_option("--host-name", options.host_name,
                 "Name of the server, in its greeting and in files' names")
      ->type_name("NAME")
      ->check(host_fault);
  app.add_option("--recipient-delimiter", options.recipient_delimiter,
                 "Characters of which each begins the extension of an address; none if empty")
      ->type_name("CHARS")
      ->check(Delivery::delimiter_fault)
      ->capture_default_str();
  app.add_option_function<std::string>(
         "--folder-dots",
         [&options](const std::string& word) {
           options.folder_dots = Delivery::folder_dots_of(word);
         },
         "Folders with a dot in the name: the inbox in their place, or as Dovecot's plugin "
         "listescape spells them")
      ->type_name("inbox|listescape")
      ->check(Delivery::folder_dots_fault)
      ->default_str("inbox");
  app.add_flag_callback(
      "--keep-case", [&options] { options.address_case = Delivery::AddressCase::kept; },
      "Tell capitals in users' addresses from small letters");
}

void declare_records(CLI::App& app, Options& options, Written& written) {
  app.add_option("--log", written.log, "Destination of the log")
      ->type_name("stderr|syslog")
      ->check(log_fault)
      ->capture_default_str();
  app.add_option("--metrics", options.server.metrics,
                 "File that the counters are written to, on SIGUSR1")
      ->type_name("FILE");
  app.add_flag("--journal", options.keeps_journal,
               "Note in each user's folder what is decided about their mail");
}

template <typename Number>
void declare_number(CLI::App& app, const char* name, Number& value, const char* help,
                    std::uint64_t least, std::uint64_t most) {
  app.add_option(name, value, help)
      ->type_name("N")
      ->transform(whole_number(least, most))
      ->capture_default_str();
}

void declare_limits(CLI::App& app, Options& options, Written& written) {
  constexpr std::uint64_t tebibyte = std::uint64_t{1} << 40U;
  declare_number(app, "--max-size", options.limits.message, "Largest message, in bytes", 1,
                 tebibyte);
  declare_number(app, "--max-in-memory", options.limits.in_memory,
                 "Largest message, in bytes, that is in memory while it comes in", 0, tebibyte);
  declare_number(app, "--max-line", options.limits.line,
                 "Longest line of a message, in bytes with its line end", 2, tebibyte);
  declare_number(app, "--max-recipients", options.limits.recipients, "Most recipients of a message",
                 1, 1000000);
  declare_number(app, "--evaluation-time", written.seconds,
                 "Seconds that rules may take over a message", 1, 600);
  declare_number(app, "--evaluation-memory", written.mebibytes,
                 "MiB of memory that rules may take over a message", 160, 65536);
  declare_number(app, "--helper-messages", options.evaluation.messages,
                 "Messages that one helper process runs rules over", 1, 1000000);
  app.add_flag("--require-landlock", options.require_landlock,
               "Do not start where the kernel can't keep helper processes from files");
}

void declare_clients(CLI::App& app, Options& options, Written& written) {
  declare_number(app, "--workers", options.server.workers, "Connections served at a time", 1, 1000);
  declare_number(app, "--client-patience", written.silence,
                 "Seconds that a client may be silent, or take no answers", 1, 86400);
  declare_number(app, "--transaction-time", written.transaction,
                 "Seconds that a client may take from one message to the end of the next", 1,
                 86400);
  declare_number(app, "--busy-patience", written.when_busy,
                 "Seconds to wait for a client while others wait for a worker", 1, 86400);
  declare_number(app, "--max-clients-per-address", options.server.clients_per_address,
                 "Most connections from one address that are served at a time over TCP", 1, 1000);
}

void declare(CLI::App& app, Options& options, Written& written) {
  app.set_version_flag("--version", "quarrow-lmtpd " QUARROW_VERSION);
  app.set_config("--config", "", "File with more options, a line each: workers=4")
      ->type_name("FILE");
  app.allow_config_extras(CLI::config_extras_mode::error);
  declare_sockets(app, options, written);
  declare_mail(app, options);
  declare_records(app, options, written);
  declare_clients(app, options, written);
  declare_limits(app, options, written);
}

// The help or the version.
std::string text_of(const CLI::App& app, const CLI::Success& success) {
  std::ostringstream text;
  (void)app.exit(success, text, text);
  return text.str();
}

}  // namespace

Parsed parse_options(int argc, const char* const* argv) {
  Parsed parsed;
  parsed.options.host_name = Delivery::host_name();
  Written written(parsed.options);
  CLI::App app("Takes mail over LMTP and files it by the recipients' rules.", "quarrow-lmtpd");
  declare(app, parsed.options, written);
  try {
    app.parse(argc, argv);
    written.convert(parsed.options);
    parsed.outcome = Parsed::Outcome::run;
  } catch (const CLI::Success& success) {
    parsed.outcome = Parsed::Outcome::help;
    parsed.text = text_of(app, success);
  } catch (const CLI::FileError& error) {
    parsed.text = std::string("--config: ") + error.what();
  } catch (const CLI::ConfigError& error) {
    parsed.text = std::string("--config: ") + error.what();
  } catch (const CLI::ParseError& error) {
    parsed.text = error.what();
  }
  return parsed;
}

void complete_options(const std::vector<std::string>& request, std::ostream& out) {
  Options options;
  Written written(options);
  CLI::App app("", "quarrow-lmtpd");
  declare(app, options, written);
  const std::string help = app.get_config_ptr()->get_description();
  (void)app.set_config();  // the file is not for reading now
  std::string file;
  app.add_option("--config", file, help)->type_name("FILE");
  const auto paths = [](const Completion::Cursor& cursor) -> Completion::Offer {
    const std::string type = cursor.option->get_type_name();
    if (type == "DIR") return {{}, Completion::Paths::folders};
    return {
        {},
        type == "FILE" || type == "SOCKET" ? Completion::Paths::files : Completion::Paths::none};
  };
  Completion::answer(app, request, paths, out);
}

}  // namespace Quarrow::Lmtpd
