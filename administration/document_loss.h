// What a rules document holds and the library does not take from it.
#ifndef QUARROW_ADMINISTRATION_DOCUMENT_LOSS_H_
#define QUARROW_ADMINISTRATION_DOCUMENT_LOSS_H_

#include <quarrow/filter_list.h>

#include <boost/shared_ptr.hpp>
#include <string>

namespace Quarrow::Administration {

// What would be lost if `document`, of which `list` was loaded, were replaced by the document of
// `list`: "test 2 of filter 1, action 1 of filter 3", at most ten of them. Empty when nothing would
// be. Comments, the filters' numbers and what is written in another way but means the same do not
// count.
std::string document_loss(const std::string& document,
                          const boost::shared_ptr<MessageFilters::FilterList__>& list);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_DOCUMENT_LOSS_H_
