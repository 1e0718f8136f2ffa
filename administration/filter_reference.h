// How a person names one of a user's filters, in what they type and in what they read.
#ifndef QUARROW_ADMINISTRATION_FILTER_REFERENCE_H_
#define QUARROW_ADMINISTRATION_FILTER_REFERENCE_H_

#include <quarrow/user_stores.h>

#include <boost/shared_ptr.hpp>
#include <string>

#include "administration/refusal.h"

namespace Quarrow::Administration {

// Whether `text` is a number: those are ids, never names.
bool is_filter_id(const std::string& text);

// Finds the filter that `text` names by its id or by its name. Refuses, with the user as object, a
// filter that is not there, with the names that are near, and a name that several filters have,
// with their ids; `filter` is unchanged then.
Refusal find_filter(const MessageFilters::UserMessageFilters__& rules, const std::string& text,
                    boost::shared_ptr<MessageFilters::Filter__>& filter);

// Refuses a filter of `rules` that no evaluation names, or whose name would not tell it: a disabled
// one, and one whose name another enabled filter has.
Refusal check_tells_by_name(const MessageFilters::UserMessageFilters__& rules,
                            const MessageFilters::Filter__& filter);

// The filter in a sentence, such as: filter 3 "Work".
std::string title_of(const MessageFilters::Filter__& filter);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_FILTER_REFERENCE_H_
