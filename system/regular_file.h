// Opening files that lie in folders of others.
#ifndef QUARROW_SYSTEM_REGULAR_FILE_H_
#define QUARROW_SYSTEM_REGULAR_FILE_H_

#include <sys/types.h>

#include <string>

namespace Quarrow {

// Opens the file `name` in the folder with the descriptor `folder`, which may be AT_FDCWD, as
// openat(2) does with `flags` and `mode`, but never waits, follows no link in the place of the
// file, and takes nothing but a regular file. The folders on the way to it are followed: they are
// the caller's to trust. The descriptor closes when another program is started.
//
// -1, with errno set, on failure: ELOOP for a symbolic link, EISDIR for a folder, EINVAL for
// anything else that is no regular file, EWOULDBLOCK for a file that somebody holds a lease on.
int open_regular_at(int folder, const std::string& name, int flags, mode_t mode = 0);

// The same for the file at `path`.
int open_regular(const std::string& path, int flags, mode_t mode = 0);

// Why one of these functions failed with `error`, for a person.
std::string reason_for_no_file(int error);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_REGULAR_FILE_H_
