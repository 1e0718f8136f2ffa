// Warnings about rules that were taken, and don't do what their owner may think.
#ifndef QUARROW_APPS_QUARROW_RULE_WARNINGS_H_
#define QUARROW_APPS_QUARROW_RULE_WARNINGS_H_

#include <quarrow/filter_list.h>

#include <cstdint>
#include <string>

#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Command {

// Complains of what is remarkable about the filter `id` of `list`, and about filters that run no
// more because of it.
void warn_of_rules(const MessageFilters::FilterList__& list, std::int32_t id);

// Complains of each folder that actions of `filter` file into and that is not in the Maildir of the
// user's folder `user_folder`. A user without a Maildir is not warned: none of the folders is there
// then. `dots` is what delivery does with folders with a dot in the name.
void warn_of_folders(const std::string& user_folder, const MessageFilters::Filter__& filter,
                     Delivery::FolderDots dots);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_RULE_WARNINGS_H_
