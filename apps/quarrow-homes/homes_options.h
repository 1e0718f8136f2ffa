// The settings of an administrator, from the command line and a file.
#ifndef QUARROW_APPS_QUARROW_HOMES_HOMES_OPTIONS_H_
#define QUARROW_APPS_QUARROW_HOMES_HOMES_OPTIONS_H_

#include <ostream>
#include <string>
#include <vector>

#include "homes/home_lookup.h"
#include "server/command_line.h"
#include "server/daemon.h"

namespace Quarrow::HomesServer {

// A reload may change all of these but some in `server`.
struct Options {
  Options();

  Server::DaemonSettings server;
  std::string homes = "/var/lib/quarrow/homes.sqlite";  // the table's file
  Homes::AddressReading reading;
};

// The outcome of reading the arguments.
struct Parsed : Server::CommandLine {
  Options options;  // for run
};

// Reads the command line and the file that it names with --config, whose settings it overrides.
Parsed parse_options(int argc, const char* const* argv);

// Answers the script of a shell that completes a command line: see Completion::answer().
void complete_options(const std::vector<std::string>& request, std::ostream& out);

}  // namespace Quarrow::HomesServer

#endif  // QUARROW_APPS_QUARROW_HOMES_HOMES_OPTIONS_H_
