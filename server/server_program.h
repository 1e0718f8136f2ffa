// What the programs of all servers share: how they start, and how they read their options anew.
#ifndef QUARROW_SERVER_SERVER_PROGRAM_H_
#define QUARROW_SERVER_SERVER_PROGRAM_H_

#include <sysexits.h>

#include <algorithm>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "completion/answer.h"
#include "server/command_line.h"
#include "server/log.h"

namespace Quarrow::Server {

// Runs the server `name`, and gives its exit status. `complete` answers the shell of somebody who
// types its command line. Where `parse` finds options to run with, makes a Program of the command
// line and these, and calls its run().
template <class Program, class Parsed>
int run_program(const std::string& name, int argc, char** argv,
                Parsed (*parse)(int, const char* const*),
                void (*complete)(const std::vector<std::string>&, std::ostream&)) {
  const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
  if (Completion::is_request(arguments)) {
    complete(arguments, std::cout);
    return std::cout.flush() ? EX_OK : EX_IOERR;
  }
  Parsed parsed = parse(argc, argv);
  if (parsed.outcome != Parsed::Outcome::run) return tell(parsed, name);
  return Program(argc, argv, std::move(parsed.options)).run();
}

// The options that a reload has read. None where they are wrong, which is logged.
template <class Parsed>
auto options_to_reload(Parsed parsed) {
  auto options = std::make_optional(std::move(parsed.options));
  if (parsed.outcome == Parsed::Outcome::run) return options;
  log_error("nothing was reloaded: " + parsed.text);
  options.reset();
  return options;
}

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_SERVER_PROGRAM_H_
