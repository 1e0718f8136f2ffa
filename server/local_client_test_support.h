// A client of a socket in the file system.
#ifndef QUARROW_SERVER_LOCAL_CLIENT_TEST_SUPPORT_H_
#define QUARROW_SERVER_LOCAL_CLIENT_TEST_SUPPORT_H_

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>
#include <string>

namespace Quarrow::Server {

// A connection to the socket at `path`, which the caller closes.
inline int connect_to(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size());
  const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_EQ(0, connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address));
  return client;
}

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_LOCAL_CLIENT_TEST_SUPPORT_H_
