// A user's filters, for those who only look at them.
#ifndef QUARROW_ADMINISTRATION_LOADED_RULES_H_
#define QUARROW_ADMINISTRATION_LOADED_RULES_H_

#include <quarrow/filter_list.h>
#include <zvellparser.h>

#include <boost/shared_ptr.hpp>
#include <chrono>

#include "administration/refusal.h"
#include "administration/rules_transaction.h"

namespace Quarrow::Administration {

// Puts the filters of the known user `user` into `list`. They are loaded in a process of their own,
// which a damaged document may end; what comes back is the text that a commit would write.
// `patience` is with transactions of the user.
Refusal load_rules(const EmailAddress& user, boost::shared_ptr<MessageFilters::FilterList__>& list,
                   std::chrono::milliseconds patience = lock_patience);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_LOADED_RULES_H_
