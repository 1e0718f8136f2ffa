// Logging through spdlog, which only this file knows.
#include "lmtp/log.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/syslog_sink.h>
#include <spdlog/spdlog.h>
#include <syslog.h>

#include <memory>

namespace Quarrow::Lmtp {
namespace {

const char program[] = "quarrow-lmtpd";

bool is_control(char c) {
  const auto code = static_cast<unsigned char>(c);
  return code < 32 || code == 127;
}

std::string hexadecimal(char c) {
  static const char digits[] = "0123456789abcdef";
  const auto code = static_cast<unsigned char>(c);
  return std::string("\\x") + digits[code / 16] + digits[code % 16];
}

// `text` with control characters as \xHH, a backslash before each of `marked`, and `hidden` as
// \xHH, too.
std::string escaped(const std::string& text, const std::string& marked, const std::string& hidden) {
  std::string out;
  for (const char c : text) {
    if (is_control(c) || hidden.find(c) != std::string::npos) {
      out += hexadecimal(c);
      continue;
    }
    if (marked.find(c) != std::string::npos) out += '\\';
    out += c;
  }
  return out;
}

std::string word(const std::string& text) { return escaped(text, "\\", " "); }

std::string quoted(const std::string& text) { return '"' + escaped(text, "\\\"", "") + '"'; }

std::shared_ptr<spdlog::logger> make_logger(LogTarget target) {
  if (target == LogTarget::system_log) {
    const auto sink = std::make_shared<spdlog::sinks::syslog_sink_st>(program, LOG_PID, LOG_MAIL,
                                                                      /*enable_formatting=*/false);
    return std::make_shared<spdlog::logger>(program, sink);
  }
  const auto logger =
      std::make_shared<spdlog::logger>(program, std::make_shared<spdlog::sinks::stderr_sink_st>());
  logger->set_pattern("%Y-%m-%dT%H:%M:%S.%e%z quarrow-lmtpd[%P] %l: %v");
  return logger;
}

std::shared_ptr<spdlog::logger>& logger() {
  static std::shared_ptr<spdlog::logger> current = make_logger(LogTarget::standard_error);
  return current;
}

void write(spdlog::level::level_enum level, const std::string& line) {
  logger()->log(level, spdlog::string_view_t(escaped(line, "", "")));
}

}  // namespace

void set_log(LogTarget target) { logger() = make_logger(target); }

void log_info(const std::string& line) { write(spdlog::level::info, line); }
void log_warning(const std::string& line) { write(spdlog::level::warn, line); }
void log_error(const std::string& line) { write(spdlog::level::err, line); }

std::string log_line(const DeliveryRecord& record) {
  const std::string id = record.message_id.empty() ? "<>" : word(record.message_id);
  const std::string note = record.note.empty() ? "" : " note=" + quoted(record.note);
  return "user=" + word(record.user) + " msgid=" + id + " rule=" + quoted(record.rule) +
         " action=" + word(record.action) + " took=" + std::to_string(record.took.count()) + "ms" +
         note;
}

}  // namespace Quarrow::Lmtp
