// The sockets that clients come to.
#ifndef QUARROW_SERVER_LISTENER_H_
#define QUARROW_SERVER_LISTENER_H_

#include <sys/types.h>

#include <string>

namespace Quarrow::Server {

// Rights of a socket in the file system, which say what users may connect to it.
struct SocketRights {
  mode_t mode = 0660;
  std::string group = {};  // name of its group; empty: the group of the process
};

// A listening socket that does not block, or why there is none.
struct Listener {
  int fd = -1;         // the caller closes it; negative on failure
  std::string reason;  // empty on success
};

// Listens at `address`: a path that begins with "/", or "127.0.0.1:2424", "[::1]:2424". A socket
// that a server left at the path is replaced; a socket that a server still answers at stays, and so
// does a file of another kind. Addresses that other hosts reach are refused: the server does not
// ask its clients for a password.
Listener listen_at(const std::string& address, const SocketRights& rights);

// Whether a listening socket is a file, whose rights say who may connect to it. One that is only a
// name, or a port, takes any program of this host.
bool is_in_file_system(int listener);

// Whether only programs of this host reach a listening socket.
bool is_of_this_host_alone(int listener);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_LISTENER_H_
