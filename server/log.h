// A server's log.
#ifndef QUARROW_SERVER_LOG_H_
#define QUARROW_SERVER_LOG_H_

#include <string>

namespace Quarrow::Server {

enum class LogTarget { standard_error, system_log };

// How the log names its lines' origin.
struct LogOrigin {
  std::string program;
  int facility = 0;  // for the system's log, as syslog(3) has it: LOG_DAEMON
};

// Says where the log goes from here on. Until the first call it goes to standard error, and the
// program is called "server".
void set_log(const LogOrigin& origin, LogTarget target);

// Adds a line. Control characters in it are escaped, so that it stays one line.
void log_info(const std::string& line);
void log_warning(const std::string& line);
void log_error(const std::string& line);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_LOG_H_
