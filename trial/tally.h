// Counts where messages go, and prints the counts as a table.
#ifndef QUARROW_TRIAL_TALLY_H_
#define QUARROW_TRIAL_TALLY_H_

#include <quarrow/evaluation.h>

#include <cstdint>
#include <map>
#include <ostream>
#include <string>

namespace Quarrow::Trial {

class Tally {
 public:
  // Counts a message once for each place that it goes to. Without any action it is kept.
  void add(const SieveMatchResult& result);

  // Counts a message for which there is no result.
  void add_not_evaluated();

  // Writes a line for each folder in byte order, then one each for what is kept, rejected,
  // discarded, an error or not evaluated, as far as there are any, and the number of messages.
  void print(std::ostream& out) const;

 private:
  std::map<std::string, std::uint64_t> folders_;
  std::uint64_t kept_ = 0;
  std::uint64_t rejected_ = 0;
  std::uint64_t discarded_ = 0;
  std::uint64_t errors_ = 0;
  std::uint64_t not_evaluated_ = 0;
  std::uint64_t messages_ = 0;
};

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_TALLY_H_
