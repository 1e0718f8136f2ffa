// The server's log.
#ifndef QUARROW_SERVER_LOG_H_
#define QUARROW_SERVER_LOG_H_

#include <string>

namespace Quarrow::Server {

enum class LogTarget { standard_error, system_log };

// Says where the log goes from here on; to standard error when this was never called.
void set_log(LogTarget target);

// Adds a line. Control characters in it are escaped, so that it stays one.
void log_info(const std::string& line);
void log_warning(const std::string& line);
void log_error(const std::string& line);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_LOG_H_
