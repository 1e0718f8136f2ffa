// The option, and what stands in for it.
#include "apps/quarrow/commands/jobs_option.h"

#include "system/processors.h"
#include "trial/parallel_run.h"

namespace Quarrow::Command {
namespace {

// Each takes a descriptor of the first process, which may have no more than 1024.
constexpr int most_jobs = 256;

}  // namespace

Option add_jobs_option(CLI::App& app, std::optional<std::size_t>& jobs) {
  return add_option(app, "-j,--jobs", jobs,
                    "How many processes share the messages; 0 for one on each processor")
      .type_name("N")
      .in_range(0, most_jobs);
}

std::size_t jobs_for(std::optional<std::size_t> jobs,
                     const std::vector<Trial::MailSource>& sources) {
  if (jobs.value_or(0) > 0) return *jobs;
  return jobs || Trial::is_long_work(sources) ? usable_processors().size() : 1;
}

}  // namespace Quarrow::Command
