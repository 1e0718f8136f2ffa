// Files that the command reads and writes as a whole.
#ifndef QUARROW_APPS_QUARROW_WHOLE_FILE_H_
#define QUARROW_APPS_QUARROW_WHOLE_FILE_H_

#include <cstddef>
#include <functional>
#include <string>

#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {

// Writes `text` to the file at `path`, for its owner alone, in place of one that is there: at each
// moment the file has its old text or all of the new one. Refuses what is no regular file.
Fault write_file(const std::string& path, const std::string& text);

// The same for what `write` writes to the descriptor that it gets. It is false, with errno set,
// when it could not write.
Fault write_file(const std::string& path, const std::function<bool(int)>& write);

// Opens the file at `path`, or standard input for "-". -1, with errno set, on failure.
int open_input(const std::string& path);

// The fault after a file could not be opened, by errno.
Fault fault_of_file();

// Puts the text of the file at `path`, or of standard input for "-", into `text`. Of a text of more
// than `limit` bytes only a beginning is read that is longer than that.
Fault read_file(const std::string& path, std::size_t limit, std::string& text);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_WHOLE_FILE_H_
