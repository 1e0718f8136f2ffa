// What differs between two states of a user's rules, in words.
#ifndef QUARROW_ADMINISTRATION_RULES_DIFFERENCE_H_
#define QUARROW_ADMINISTRATION_RULES_DIFFERENCE_H_

#include <quarrow/filter_list.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Quarrow::Administration {

// One thing that became of a filter: "added", "removed", "renamed from "Old"", "moved from place 3
// to place 1", "test added: string subject is a" and so on.
struct RulesDifference {
  std::int32_t id = 0;
  std::string name;  // as it is now; of a removed filter, as it was
  std::string change;
};

// What became of the filters of `before`, which are told apart by their numbers, in `after`: the
// removed ones first, then the others as they stand in `after`. Of filters that changed places, the
// fewest that explain the new order are said to be moved.
std::vector<RulesDifference> rules_differences(const MessageFilters::FilterList__& before,
                                               const MessageFilters::FilterList__& after);

// "filter 3 "Reports": removed"
std::string difference_text(const RulesDifference& difference);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_DIFFERENCE_H_
