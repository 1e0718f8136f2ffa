// The settings of an administrator, from the command line and a file.
#ifndef QUARROW_APPS_QUARROW_LMTPD_OPTIONS_H_
#define QUARROW_APPS_QUARROW_LMTPD_OPTIONS_H_

#include <ostream>
#include <string>
#include <vector>

#include "delivery/recipient_lookup.h"
#include "lmtp/limits.h"
#include "quarrow/delivery/evaluator.h"
#include "quarrow/delivery/folder_dots.h"
#include "server/command_line.h"
#include "server/daemon.h"

namespace Quarrow::Lmtpd {

// A reload may change all of these but some in `server`.
struct Options {
  Server::DaemonSettings server = {{"/run/quarrow/lmtp"}};
  std::string root = "/var/spool/quarrow";  // folder of the users' folders
  std::string spool = "/var/tmp";           // folder of the messages that come in
  std::string host_name;                    // by default this host's
  std::string recipient_delimiter = "+";
  Delivery::AddressCase address_case = Delivery::AddressCase::folded;
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  Lmtp::Limits limits;
  Delivery::EvaluatorLimits evaluation;
  bool require_landlock = false;
  bool keeps_journal = false;
};

// The outcome of reading the arguments.
struct Parsed : Server::CommandLine {
  Options options;  // for run
};

// Reads the command line and the file that it names with --config, whose settings it overrides.
Parsed parse_options(int argc, const char* const* argv);

// Answers the script of a shell that completes a command line: see Completion::answer().
void complete_options(const std::vector<std::string>& request, std::ostream& out);

}  // namespace Quarrow::Lmtpd

#endif  // QUARROW_APPS_QUARROW_LMTPD_OPTIONS_H_
