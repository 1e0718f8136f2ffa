// Giving up the superuser's rights.
#ifndef QUARROW_SERVER_PRIVILEGES_H_
#define QUARROW_SERVER_PRIVILEGES_H_

#include <string>

namespace Quarrow::Server {

// Tells why the process must not serve as `user`: it is the superuser, or there is no such user.
// Empty when it may. An empty name stands for the user that the process runs as. Changes nothing.
std::string refusal_to_serve_as(const std::string& user);

// Makes the process run as `user`, with the user's groups, for good. Empty when done, or why not:
// refusal_to_serve_as tells of a reason, or the process is not the superuser's.
std::string become(const std::string& user);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_PRIVILEGES_H_
