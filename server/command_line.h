// The command line of a program around a Daemon: read, and told about where it is not to run.
#ifndef QUARROW_SERVER_COMMAND_LINE_H_
#define QUARROW_SERVER_COMMAND_LINE_H_

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace Quarrow::Server {

// What reading the arguments came to.
struct CommandLine {
  enum class Outcome { run, help, wrong };

  Outcome outcome = Outcome::wrong;
  std::string text = {};  // for help: the text to print; for wrong: the reason
};

// Has `app`, whose options are declared, read the command line and the file that it names with
// --config, and sets `line`. `finish` is called where that went well, and gives why the options do
// not go together, or an empty text.
void read_command_line(CLI::App& app, int argc, const char* const* argv,
                       const std::function<std::string()>& finish, CommandLine& line);

// Prints the help, or what is wrong and where to find the help. Gives the exit status.
int tell(const CommandLine& line, const std::string& program);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_COMMAND_LINE_H_
