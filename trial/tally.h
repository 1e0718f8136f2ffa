// Counts where messages go.
#ifndef QUARROW_TRIAL_TALLY_H_
#define QUARROW_TRIAL_TALLY_H_

#include <quarrow/evaluation.h>

#include <cstdint>
#include <map>
#include <string>

namespace Quarrow::Trial {

// Numbers of messages. A message that goes to several places is counted at each of them.
struct Tally {
  std::map<std::string, std::uint64_t> folders;  // by the folder's name, as SieveAction has it
  std::uint64_t kept = 0;
  std::uint64_t rejected = 0;
  std::uint64_t discarded = 0;
  std::uint64_t errors = 0;  // evaluated to an error, and counted at no place
  std::uint64_t not_evaluated = 0;
  std::uint64_t messages = 0;  // all of them

  // Counts a message once for each place that it goes to. Without any action it is kept.
  void add(const SieveMatchResult& result);

  // Counts a message for which there is no result.
  void add_not_evaluated();
};

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_TALLY_H_
