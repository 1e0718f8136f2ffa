// The table of connections, and where they come from.
#include "server/open_connections.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <set>

#include "server/listener.h"
#include "system/child_process_test_support.h"
#include "system/descriptor.h"

namespace Quarrow::Server {
namespace {

constexpr Origin somewhere = 6;
constexpr Origin elsewhere = 10;

TEST(OpenConnections, AreCountedByTheirOrigin) {
  OpenConnections open;
  EXPECT_EQ(0U, open.count());
  open.add(1, somewhere);
  open.add(2, elsewhere);
  open.add(3, somewhere);
  open.add(4, from_file_system);
  EXPECT_EQ(4U, open.count());
  EXPECT_EQ(2U, open.count_from(somewhere));
  EXPECT_EQ(1U, open.count_from(elsewhere));
}

TEST(OpenConnections, AreTakenBackByTheirProcess) {
  OpenConnections open;
  open.add(1, somewhere);
  open.add(2, somewhere);
  open.remove(1);
  open.remove(7);
  EXPECT_EQ(1U, open.count_from(somewhere));
}

TEST(OpenConnections, AreSharedByProcesses) {
  OpenConnections open;
  const auto add_one = [&open] {
    open.add(getpid(), somewhere);
    return 0;
  };
  EXPECT_EQ(0, end_of_child(add_one).status);
  EXPECT_EQ(0, end_of_child(add_one).status);
  EXPECT_EQ(2U, open.count());
}

TEST(OpenConnections, AreBounded) {
  OpenConnections open;
  for (pid_t process = 1; process <= 5000; ++process) open.add(process, somewhere);
  EXPECT_EQ(4000U, open.count());
}

TEST(OpenConnections, CanBeHiddenFromChildren) {
  OpenConnections open;
  const auto add_in_a_child = [&open] {
    open.hide_from_children();
    const ProcessEnd end = end_of_child([&open] {
      (void)signal(SIGSEGV, [](int) { _exit(77); });
      open.add(1, somewhere);
      return 0;
    });
    return end.status;
  };
  EXPECT_EQ(77, end_of_child(add_in_a_child).status);
  EXPECT_EQ(0U, open.count());
}

// The origin of a client that connects from `from` to `to`.
Origin origin_between(const char* from, const char* to) {
  const Descriptor listener(listen_at(std::string(to) + ":0", {}).fd);
  sockaddr_in address{};
  socklen_t size = sizeof address;
  (void)getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size);
  const Descriptor client(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in source{};
  source.sin_family = AF_INET;
  (void)inet_pton(AF_INET, from, &source.sin_addr);
  EXPECT_EQ(0, bind(client.get(), reinterpret_cast<sockaddr*>(&source), sizeof source));
  EXPECT_EQ(0, connect(client.get(), reinterpret_cast<sockaddr*>(&address), size));
  const Descriptor connection(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
  return origin_of(connection.get());
}

TEST(Origin, IsOneForAllAddressesOfThisHost) {
  const Origin origin = origin_between("127.0.0.1", "127.0.0.1");
  EXPECT_NE(from_file_system, origin);
  EXPECT_EQ(origin, origin_between("127.1.2.3", "127.0.0.1"));
}

TEST(Origin, OfAnAddressIsThatOfAConnectionFromThere) {
  EXPECT_EQ(origin_between("127.0.0.1", "127.0.0.1"), origin_of("127.0.0.1"));
  EXPECT_EQ(origin_of("127.0.0.1"), origin_of("::1"));
  EXPECT_EQ(origin_of("192.0.2.1"), origin_of("::ffff:192.0.2.1"));
  EXPECT_EQ(origin_of("2001:db8::1"), origin_of("2001:db8::ffff:1"));
  const std::set<Origin> different = {from_file_system,         origin_of("::1"),
                                      origin_of("192.0.2.1"),   origin_of("192.0.2.2"),
                                      origin_of("2001:db8::1"), origin_of("2001:db8:0:1::1")};
  EXPECT_EQ(6U, different.size());
}

TEST(Origin, IsNoneForASocketInTheFileSystem) {
  std::array<int, 2> ends{};
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()));
  const Descriptor first(ends[0]);
  const Descriptor second(ends[1]);
  EXPECT_EQ(from_file_system, origin_of(first.get()));
}

}  // namespace
}  // namespace Quarrow::Server
