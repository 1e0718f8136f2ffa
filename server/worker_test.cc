// What tells that clients wait.
#include "server/worker.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cerrno>

#include "server/listener.h"
#include "server/local_client_test_support.h"
#include "system/descriptor.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Server {
namespace {

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
