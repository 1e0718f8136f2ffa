// What an administrator sets, on the command line and in a file.
#ifndef APPS_QUARROW_LMTPD_OPTIONS_H_
#define APPS_QUARROW_LMTPD_OPTIONS_H_

#include <cstddef>
#include <string>
#include <vector>

#include "delivery/evaluator.h"
#include "lmtp/limits.h"
#include "lmtp/listener.h"
#include "lmtp/log.h"

namespace lmtpd {

struct Options {
  // These stand until the server is started anew.
  std::vector<std::string> listen = {"/run/quarrow/lmtp"};
  Quarrow::Lmtp::SocketRights rights;
  std::string user;
  std::string metrics;  // empty: none

  // These may change with a reload.
  std::string root = "/var/spool/quarrow";
  std::string spool = "/var/tmp";
  std::string host_name;
  std::string recipient_delimiter = "+";
  std::size_t workers = 10;
  Quarrow::Lmtp::LogTarget log = Quarrow::Lmtp::LogTarget::standard_error;
  Quarrow::Lmtp::Limits limits;
  Quarrow::Delivery::EvaluatorLimits evaluation;
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

}  // namespace lmtpd

#endif  // APPS_QUARROW_LMTPD_OPTIONS_H_
