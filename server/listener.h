// The sockets that clients come to.
#ifndef QUARROW_SERVER_LISTENER_H_
#define QUARROW_SERVER_LISTENER_H_

#include <sys/types.h>

#include <string>

namespace Quarrow::Server {

// Who may connect to a socket in the file system.
struct SocketRights {
  mode_t mode = 0660;
  std::string group;  // name of its group; empty: the process's
};

// A listening socket that does not block, or what went wrong.
struct Listener {
  int fd = -1;
  std::string reason;
};

// Listens at `address`: a path that begins with "/", or "127.0.0.1:2424", "[::1]:2424". A socket
// that a server left at the path is replaced, one that a server still answers at, or a file of
// another kind, is not. Addresses other than of this host alone are refused: LMTP asks no client
// who he is.
Listener listen_at(const std::string& address, const SocketRights& rights);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_LISTENER_H_
