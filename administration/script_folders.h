// Whether a script names the folders that its filters file into.
#ifndef QUARROW_ADMINISTRATION_SCRIPT_FOLDERS_H_
#define QUARROW_ADMINISTRATION_SCRIPT_FOLDERS_H_

#include <quarrow/filter_list.h>

#include <string>

namespace Quarrow::Administration {

// Whether `script`, which was made of the enabled filters of `list` or of all, has the name of each
// folder in full. ICU, which converts the names, gives an empty text for the levels of a folder for
// which memory is short, and the script is made with it.
bool names_all_folders(const std::string& script, const MessageFilters::FilterList__& list,
                       bool include_disabled);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_SCRIPT_FOLDERS_H_
