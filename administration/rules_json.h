// A user's filters as JSON: a list, or an object with the list and with the filters' revision.
//
//   [
//     {
//       "id": 1, "enabled": true, "name": "Reports", "relation": "allof",
//       "tests": [
//         {"type": "string", "field": "subject", "comparator": "contains", "value": "quarterly",
//          "negative": false, "match_case": false}
//       ],
//       "actions": [{"method": "move", "target": "Reports"}]
//     }
//   ]
//
//   {"revision": "0123456789ab", "filters": [ ... ]}
#ifndef QUARROW_ADMINISTRATION_RULES_JSON_H_
#define QUARROW_ADMINISTRATION_RULES_JSON_H_

#include <quarrow/filter_list.h>

#include <boost/shared_ptr.hpp>
#include <string>

#include "administration/refusal.h"

namespace Quarrow::Administration {

// The filters in their order, each member on a line of its own, without a line end behind the list.
// An action without a target has no "target", and one without a value no "value". Bytes that are
// not UTF-8 become U+FFFD.
std::string rules_json(const MessageFilters::FilterList__& filters);

// The same in an object with the filters' revision.
std::string rules_json(const MessageFilters::FilterList__& filters, const std::string& revision);

// Reads what rules_json() writes, and puts the filters in place of `filters`. Members may come in
// any order, but all of them must be there once, and no other. Refuses a wrong type, a word that is
// unknown or does not go with the others, and two filters of the same number: the refusal's object
// is the place, such as "filters[2].tests[0].comparator", counted from 0; `filters` is unchanged
// then. Neither the user's limit nor the texts are looked at: see rules_transaction.h and
// rule_check.h.
Refusal read_rules_json(const std::string& json,
                        boost::shared_ptr<MessageFilters::FilterList__>& filters);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_JSON_H_
