// Giving up the superuser's rights.
#ifndef QUARROW_SERVER_PRIVILEGES_H_
#define QUARROW_SERVER_PRIVILEGES_H_

#include <string>

namespace Quarrow::Server {

// Whether the process may serve as `user`; an empty name stands for who it runs as. Empty if so, or
// why not: the superuser serves nobody, and there may be no such user. Changes nothing.
std::string refusal_to_serve_as(const std::string& user);

// Makes the process run as `user` with his groups, for good. Empty when done, or why not: what
// refusal_to_serve_as says, and that only the superuser can become another.
std::string become(const std::string& user);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_PRIVILEGES_H_
