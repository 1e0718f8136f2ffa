// How many processes share the messages of a run.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_JOBS_OPTION_H_
#define QUARROW_APPS_QUARROW_COMMANDS_JOBS_OPTION_H_

#include <cstddef>
#include <optional>
#include <vector>

#include "apps/quarrow/option.h"
#include "trial/mail_sources.h"

namespace Quarrow::Command {

// Adds the option -j, --jobs: none, as many as the work is worth.
Option add_jobs_option(CLI::App& app, std::optional<std::size_t>& jobs);

// How many processes are to share `sources`; 1 for a run in this one. `jobs` is the option.
std::size_t jobs_for(std::optional<std::size_t> jobs,
                     const std::vector<Trial::MailSource>& sources);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_JOBS_OPTION_H_
