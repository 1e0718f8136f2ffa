// The person who runs a command.
#ifndef QUARROW_SYSTEM_LOGIN_NAME_H_
#define QUARROW_SYSTEM_LOGIN_NAME_H_

#include <sys/types.h>

#include <string>

namespace Quarrow {

// The login name of the person behind a process whose real user is `user`: for root by sudo(8), of
// who ran sudo. A user without a name is told by their number.
std::string login_name(uid_t user);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_LOGIN_NAME_H_
