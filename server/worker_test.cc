// What tells that clients wait.
#include "server/worker.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>

#include "server/listener.h"
#include "system/descriptor.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Server {
namespace {

int connect_to(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size());
  const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_EQ(0, connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address));
  return client;
}

TEST(Waiting, IsSeenWithoutASocketToTakeClientsFrom) {
  const TemporaryFolder folder;
  const Descriptor first(listen_at(folder.file("first"), {}).fd);
  const Descriptor second(listen_at(folder.file("second"), {}).fd);
  const Descriptor all(any_of({first.get(), second.get()}));
  EXPECT_FALSE(is_anyone_waiting({all.get()}));
  const Descriptor client(connect_to(folder.file("second")));
  EXPECT_TRUE(is_anyone_waiting({all.get()}));
  EXPECT_GT(0, accept(all.get(), nullptr, nullptr));
  EXPECT_EQ(ENOTSOCK, errno);
  const Descriptor taken(accept(second.get(), nullptr, nullptr));
  EXPECT_LE(0, taken.get());
  EXPECT_FALSE(is_anyone_waiting({all.get()}));
}

TEST(Waiting, CantBeSeenAtWhatIsNoSocket) { EXPECT_GT(0, any_of({-1})); }

}  // namespace
}  // namespace Quarrow::Server
