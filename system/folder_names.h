// The names in a folder.
#ifndef QUARROW_SYSTEM_FOLDER_NAMES_H_
#define QUARROW_SYSTEM_FOLDER_NAMES_H_

#include <string>
#include <vector>

namespace Quarrow {

// The names in the folder with the descriptor `folder`, sorted, without "." and "..". None when
// they can't be read.
std::vector<std::string> names_in(int folder);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_FOLDER_NAMES_H_
