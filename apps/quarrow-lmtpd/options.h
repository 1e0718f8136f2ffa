// What an administrator sets, on the command line and in a file.
#ifndef QUARROW_APPS_QUARROW_LMTPD_OPTIONS_H_
#define QUARROW_APPS_QUARROW_LMTPD_OPTIONS_H_

#include <cstddef>
#include <string>
#include <vector>

#include "lmtp/limits.h"
#include "quarrow/delivery/evaluator.h"
#include "server/listener.h"
#include "server/log.h"

namespace Quarrow::Lmtpd {

struct Options {
  // These stand until the server is started anew.
  std::vector<std::string> listen = {"/run/quarrow/lmtp"};
  Server::SocketRights rights;
  std::string user;
  std::string metrics;  // empty: none

  // These may change with a reload.
  std::string root = "/var/spool/quarrow";
  std::string spool = "/var/tmp";
  std::string host_name;
  std::string recipient_delimiter = "+";
  std::size_t workers = 10;
  Server::LogTarget log = Server::LogTarget::standard_error;
  Lmtp::Limits limits;
  Delivery::EvaluatorLimits evaluation;
};

// What reading the arguments came to.
struct Parsed {
  enum class Outcome { run, help, wrong };

  Outcome outcome = Outcome::wrong;
  Options options;   // for run
  std::string text;  // for help: what to print; for wrong: the reason
};

// Reads the command line and the file that it names with --config, whose settings it overrides.
Parsed parse_options(int argc, const char* const* argv);

}  // namespace Quarrow::Lmtpd

#endif  // QUARROW_APPS_QUARROW_LMTPD_OPTIONS_H_
