// A line for each remark.
#include "apps/quarrow/rule_warnings.h"

#include <sysexits.h>

#include "administration/rule_analysis.h"
#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {

void warn_of_rules(const MessageFilters::FilterList__& list, std::int32_t id) {
  for (const auto& remark : Administration::rule_remarks(list))
    if (concerns(remark, id))
      (void)complain("filter " + std::to_string(remark.filter),
                     remark.reason + "; " + remark.advice, EX_OK);
}

}  // namespace Quarrow::Command
