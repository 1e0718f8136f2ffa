// A user's filters, for commands that only look at them.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_LOADED_RULES_H_
#define QUARROW_APPS_QUARROW_COMMANDS_LOADED_RULES_H_

#include <quarrow/filter_list.h>
#include <zvellparser.h>

#include <boost/shared_ptr.hpp>

#include "administration/refusal.h"

namespace Quarrow::Command {

// Puts the filters of the known user `user` into `list`. They are loaded in a process of their own,
// which a damaged document may end; what comes back is the text that a commit would write.
Administration::Refusal load_rules(const EmailAddress& user,
                                   boost::shared_ptr<MessageFilters::FilterList__>& list);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_LOADED_RULES_H_
