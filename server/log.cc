// Logging through spdlog, which only this file knows.
#include "server/log.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/syslog_sink.h>
#include <spdlog/spdlog.h>
#include <syslog.h>

#include <memory>

#include "system/printable.h"

namespace Quarrow::Server {
namespace {

std::shared_ptr<spdlog::logger> make_logger(const LogOrigin& origin, LogTarget target) {
  if (target == LogTarget::system_log) {
    const auto sink = std::make_shared<spdlog::sinks::syslog_sink_st>(
        origin.program, LOG_PID, origin.facility, /*enable_formatting=*/false);
    return std::make_shared<spdlog::logger>(origin.program, sink);
  }
  const auto sink = std::make_shared<spdlog::sinks::stderr_sink_st>();
  const auto logger = std::make_shared<spdlog::logger>(origin.program, sink);
  logger->set_pattern("%Y-%m-%dT%H:%M:%S.%e%z %n[%P] %l: %v");
  return logger;
}

std::shared_ptr<spdlog::logger>& logger() {
  static std::shared_ptr<spdlog::logger> current =
      make_logger({"server"}, LogTarget::standard_error);
  return current;
}

void write(spdlog::level::level_enum level, const std::string& line) {
  logger()->log(level, spdlog::string_view_t(escaped(line, {})));
}

}  // namespace

void set_log(const LogOrigin& origin, LogTarget target) { logger() = make_logger(origin, target); }

void log_info(const std::string& line) { write(spdlog::level::info, line); }
void log_warning(const std::string& line) { write(spdlog::level::warn, line); }
void log_error(const std::string& line) { write(spdlog::level::err, line); }

}  // namespace Quarrow::Server
