// The options, read by CLI11.
#include "apps/quarrow-lmtpd/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdint>

#include "completion/answer.h"
#include "delivery/folder_name.h"
#include "quarrow/delivery/maildir_store.h"
#include "server/daemon_options.h"

namespace Quarrow::Lmtpd {
namespace {

using Server::declare_number;
using Server::emptiness;

// Settings in the form in which they are written.
struct Written {
  explicit Written(Options& options)
      : server(options.server),
        seconds(std::chrono::duration_cast<std::chrono::seconds>(options.evaluation.time).count()),
        mebibytes(options.evaluation.memory >> 20U) {}

  void convert(Options& options) const {
    server.convert();
    options.evaluation.time = std::chrono::seconds(seconds);
    options.evaluation.memory = mebibytes << 20U;
  }

  Server::DaemonOptions server;
  std::chrono::seconds::rep seconds;
  std::uint64_t mebibytes;
};

std::string host_fault(const std::string& text) {
  const auto is_visible = [](char c) { return c > 32 && c < 127; };
  const bool good = !text.empty() && std::all_of(text.begin(), text.end(), is_visible);
  return good ? "" : "not a host's name, ASCII without blanks: " + text;
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

void declare(CLI::App& app, Options& options, Written& written) {
  app.set_version_flag("--version", "quarrow-lmtpd " QUARROW_VERSION);
  app.set_config("--config", "", "File with more options, a line each: workers=4")
      ->type_name("FILE");
  app.allow_config_extras(CLI::config_extras_mode::error);
  written.server.declare_sockets(app);
  app.add_flag(
      "--proxy-protocol", options.server.behind_proxy,
      "Take each client's address from the header of a proxy, which begins its connection");
  declare_mail(app, options);
  written.server.declare_records(app);
  app.add_flag("--journal", options.keeps_journal,
               "Note in each user's folder what is decided about their mail");
  written.server.declare_clients(app);
  declare_limits(app, options, written);
}

}  // namespace

Parsed parse_options(int argc, const char* const* argv) {
  Parsed parsed;
  parsed.options.host_name = Delivery::host_name();
  Written written(parsed.options);
  CLI::App app("Takes mail over LMTP and files it by the recipients' rules.", "quarrow-lmtpd");
  declare(app, parsed.options, written);
  const auto finish = [&] {
    written.convert(parsed.options);
    return std::string();
  };
  Server::read_command_line(app, argc, argv, finish, parsed);
  return parsed;
}

void complete_options(const std::vector<std::string>& request, std::ostream& out) {
  Options options;
  Written written(options);
  CLI::App app("", "quarrow-lmtpd");
  declare(app, options, written);
  Completion::answer_for_options(app, request, out);
}

}  // namespace Quarrow::Lmtpd
