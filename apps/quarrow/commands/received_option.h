// The option that tells when messages came.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_RECEIVED_OPTION_H_
#define QUARROW_APPS_QUARROW_COMMANDS_RECEIVED_OPTION_H_

#include <ctime>
#include <optional>
#include <string>

#include "apps/quarrow/option.h"

namespace Quarrow::Command {

// Adds the option --received, whose value goes to `text`.
void add_received_option(CLI::App& app, std::optional<std::string>& text);

// Puts the time in `text` into `received`: none for none, when messages came as they say. Complains
// of a text that is no time; gives the exit status.
int read_received(const std::optional<std::string>& text, std::optional<std::time_t>& received);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_RECEIVED_OPTION_H_
