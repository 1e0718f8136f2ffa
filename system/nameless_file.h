// Files without a name: nothing of them is left behind, however the process ends.
#ifndef QUARROW_SYSTEM_NAMELESS_FILE_H_
#define QUARROW_SYSTEM_NAMELESS_FILE_H_

#include <string>

namespace Quarrow {

// An empty file on the disk that `folder` is on, for reading and writing; the caller closes it.
// Negative, with errno set, when none can be made.
int nameless_file_in(const std::string& folder);

// The same, in memory.
int nameless_file_in_memory();

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_NAMELESS_FILE_H_
