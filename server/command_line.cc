// CLI11's exceptions as an outcome.
#include "server/command_line.h"

#include <sysexits.h>

#include <iostream>
#include <sstream>

namespace Quarrow::Server {
namespace {

// The help or the version.
std::string text_of(const CLI::App& app, const CLI::Success& success) {
  std::ostringstream text;
  (void)app.exit(success, text, text);
  return text.str();
}

}  // namespace

void read_command_line(CLI::App& app, int argc, const char* const* argv,
                       const std::function<std::string()>& finish, CommandLine& line) {
  try {
    app.parse(argc, argv);
    line.text = finish();
    if (line.text.empty()) line.outcome = CommandLine::Outcome::run;
  } catch (const CLI::Success& success) {
    line.outcome = CommandLine::Outcome::help;
    line.text = text_of(app, success);
  } catch (const CLI::FileError& error) {
    line.text = std::string("--config: ") + error.what();
  } catch (const CLI::ConfigError& error) {
    line.text = std::string("--config: ") + error.what();
  } catch (const CLI::ParseError& error) {
    line.text = error.what();
  }
}

int tell(const CommandLine& line, const std::string& program) {
  if (line.outcome == CommandLine::Outcome::help) {
    std::cout << line.text << std::flush;
    return std::cout ? EX_OK : EX_IOERR;
  }
  std::cerr << program << ": " << line.text << "; see " << program << " --help\n";
  return EX_USAGE;
}

}  // namespace Quarrow::Server
