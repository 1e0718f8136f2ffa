// Whether something is there.
#ifndef QUARROW_SYSTEM_EXISTS_H_
#define QUARROW_SYSTEM_EXISTS_H_

#include <unistd.h>

#include <string>

namespace Quarrow {

// Whether there is something at `path`, whatever it is. False, too, when that can't be looked at.
inline bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_EXISTS_H_
