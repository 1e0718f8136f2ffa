// The Sieve script (RFC 5228) of a list of filters.
#ifndef QUARROW_MESSAGE_FILTERS_SIEVE_SCRIPT_H_
#define QUARROW_MESSAGE_FILTERS_SIEVE_SCRIPT_H_

#include <boost/shared_ptr.hpp>
#include <ostream>

#include "quarrow/filter_list.h"
#include "quarrow/rule_model.h"

namespace Quarrow::MessageFilters {

// Writes the script of the enabled filters, or of all when `include_disabled`. Filters without
// tests are left out. False when a filter that is to be written is invalid; `out` then holds a part
// of the script.
bool write_script(const boost::shared_ptr<FilterList__>& list, bool include_disabled,
                  std::ostream& out);

// A list of one filter that holds just this test, which is valid: for the compiler to try its
// script.
boost::shared_ptr<FilterList__> list_to_try(const Test& test);

// Writes one filter, from its condition to the "}" of its block. False when the filter is empty or
// invalid, or one of its tests or actions is.
bool write_filter(const boost::shared_ptr<Filter__>& filter, std::ostream& out);

}  // namespace Quarrow::MessageFilters

#endif  // QUARROW_MESSAGE_FILTERS_SIEVE_SCRIPT_H_
