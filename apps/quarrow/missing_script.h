// A user's script that there is not.
#ifndef QUARROW_APPS_QUARROW_MISSING_SCRIPT_H_
#define QUARROW_APPS_QUARROW_MISSING_SCRIPT_H_

#include <string>

namespace Quarrow::Command {

// Complains why the script of `user` at `path` can't be run; gives the exit status.
int complain_of_script(const std::string& user, const std::string& path);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_MISSING_SCRIPT_H_
