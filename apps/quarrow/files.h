// Questions about files that several subcommands ask.
#ifndef QUARROW_APPS_QUARROW_FILES_H_
#define QUARROW_APPS_QUARROW_FILES_H_

#include <string>

namespace Quarrow::Command {

// Whether there is something at `path`.
bool exists(const std::string& path);

// Complains that `path` can't be made because of `error`, an errno; gives the exit status.
int cannot_make(const std::string& path, int error);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_FILES_H_
