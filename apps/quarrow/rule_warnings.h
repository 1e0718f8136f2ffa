// Warnings about rules that were taken, and don't do what their owner may think.
#ifndef QUARROW_APPS_QUARROW_RULE_WARNINGS_H_
#define QUARROW_APPS_QUARROW_RULE_WARNINGS_H_

#include <quarrow/filter_list.h>

#include <cstdint>

namespace Quarrow::Command {

// Complains of what is remarkable about the filter `id` of `list`, and about filters that run no
// more because of it.
void warn_of_rules(const MessageFilters::FilterList__& list, std::int32_t id);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_RULE_WARNINGS_H_
