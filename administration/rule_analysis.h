// Rules that don't do what their owner thinks: found by looking at them, without a message.
#ifndef QUARROW_ADMINISTRATION_RULE_ANALYSIS_H_
#define QUARROW_ADMINISTRATION_RULE_ANALYSIS_H_

#include <quarrow/filter_list.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Quarrow::Administration {

// What is remarkable about one filter.
struct RuleRemark {
  enum class Kind {
    contradiction,   // its tests exclude each other: it never runs
    takes_all,       // its tests hold for every message: no filter behind it runs
    shadowed,        // filters in front of it take each message that it would take
    whole_addresses  // a test compares a whole header that holds names beside addresses
  };

  Kind kind = Kind::contradiction;
  std::int32_t filter = 0;            // its number
  std::vector<std::int32_t> earlier;  // shadowed: the filters that take its messages
  std::string reason;                 // for a person, without the filter's number
  std::string advice;                 // what to do
};

// The remarks on the enabled filters of a list, in the filters' order. Each is certain: a filter
// that is said never to run decides about no message, whatever is in it. Filters that never run for
// a reason that takes more than a comparison of tests are not found. Filters of a list that makes
// no script of the usual form, since a name, a field or a folder breaks it, have no remarks.
std::vector<RuleRemark> rule_remarks(const MessageFilters::FilterList__& list);

// Whether `remark` is about the filter `id`, or about one whose messages that filter takes.
bool concerns(const RuleRemark& remark, std::int32_t id);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULE_ANALYSIS_H_
