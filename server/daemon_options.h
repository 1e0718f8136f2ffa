// Options that the programs around a Daemon share, read by CLI11.
#ifndef QUARROW_SERVER_DAEMON_OPTIONS_H_
#define QUARROW_SERVER_DAEMON_OPTIONS_H_

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <string>

#include "server/daemon.h"

namespace Quarrow::Server {

// Checks a whole number, and takes zeros off its front: CLI11 would read it as an octal one.
CLI::Validator whole_number(std::uint64_t least, std::uint64_t most);

// Why a text that must not be empty is wrong; empty when it is not.
std::string emptiness(const std::string& text);

// An option with a whole number in `value`, which holds its default.
template <typename Number>
void declare_number(CLI::App& app, const char* name, Number& value, const char* help,
                    std::uint64_t least, std::uint64_t most) {
  app.add_option(name, value, help)
      ->type_name("N")
      ->transform(whole_number(least, most))
      ->capture_default_str();
}

// A daemon's settings, as options declare them. It outlives the parsing, and does not move.
class DaemonOptions {
 public:
  // `settings` holds the defaults, and gets what is asked for.
  explicit DaemonOptions(DaemonSettings& settings);
  DaemonOptions(const DaemonOptions&) = delete;
  DaemonOptions& operator=(const DaemonOptions&) = delete;

  void declare_sockets(CLI::App& app);
  void declare_records(CLI::App& app);  // the log and the counters
  void declare_clients(CLI::App& app);

  // After parsing: puts what was written in another form into the settings.
  void convert() const;

 private:
  DaemonSettings& settings_;
  std::string mode_;
  std::string log_;
  std::chrono::seconds::rep silence_;
  std::chrono::seconds::rep transaction_;
  std::chrono::seconds::rep when_busy_;
};

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_DAEMON_OPTIONS_H_
