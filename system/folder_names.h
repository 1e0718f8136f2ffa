// The names in a folder.
#ifndef QUARROW_SYSTEM_FOLDER_NAMES_H_
#define QUARROW_SYSTEM_FOLDER_NAMES_H_

#include <string>
#include <vector>

namespace Quarrow {

// Puts the names in the folder with the descriptor `folder`, sorted, without "." and "..", into
// `names`. 0, or the errno.
int read_names(int folder, std::vector<std::string>& names);

// The names in the folder with the descriptor `folder`, sorted, without "." and "..". None when
// they can't be read.
std::vector<std::string> names_in(int folder);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_FOLDER_NAMES_H_
