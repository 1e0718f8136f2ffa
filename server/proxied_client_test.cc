// A proxy's end and the server's, in one process.
#include "server/proxied_client.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string>

#include "system/child_process_test_support.h"
#include "system/file_io.h"
#include "system/memory_file.h"

namespace Quarrow::Server {
namespace {

const std::string header = "PROXY TCP4 192.0.2.1 198.51.100.2 12345 24\r\n";

class ProxiedClientTest : public ::testing::Test {
 protected:
  ProxiedClientTest() { (void)socketpair(AF_UNIX, SOCK_STREAM, 0, ends_); }
  ~ProxiedClientTest() override {
    for (const int end : ends_) (void)close(end);
  }

  void say(const std::string& bytes) const { ASSERT_TRUE(write_all(ends_[0], bytes)); }
  void hang_up() const { (void)shutdown(ends_[0], SHUT_WR); }

  // What the server makes of it, as the address or the fault, and what it left unread. In a process
  // of its own, which changes what signals do.
  std::string taken(Clock::duration waiting = std::chrono::minutes(1), bool stopped = false) const {
    const MemoryFile result;
    EXPECT_EQ(0, end_of_child([&] {
                   const StopSignal stop;
                   if (stopped) (void)raise(SIGTERM);
                   const ProxiedClient client =
                       take_proxy_header(ends_[1], stop, Clock::now() + waiting);
                   return write_all(result.fd(), client.address + client.fault) ? 0 : 1;
                 }).status);
    return result.read();
  }

  std::string left() const {
    char bytes[100] = {};
    const ssize_t count = recv(ends_[1], bytes, sizeof bytes, MSG_DONTWAIT);
    return {bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
  }

 private:
  int ends_[2] = {-1, -1};
};

TEST_F(ProxiedClientTest, LeavesTheClientsBytes) {
  say(header + "LHLO x\r\n");
  EXPECT_EQ("192.0.2.1", taken());
  EXPECT_EQ("LHLO x\r\n", left());
}

TEST_F(ProxiedClientTest, TakesAHeaderThatComesInPieces) {
  const pid_t proxy = start_child([this] {
    for (const char byte : header + "LHLO") say({byte});
    return 0;
  });
  EXPECT_EQ("192.0.2.1", taken());
  (void)wait_for(proxy);
  EXPECT_EQ("LHLO", left());
}

TEST_F(ProxiedClientTest, RefusesWhatIsNoHeaderAtItsFirstByte) {
  say("LHLO x\r\n");
  EXPECT_EQ("what came is no header of a proxy", taken());
}

TEST_F(ProxiedClientTest, RefusesAConnectionThatEnds) {
  say(header.substr(0, 20));
  hang_up();
  EXPECT_EQ("the connection ended before the proxy's header did", taken());
}

TEST_F(ProxiedClientTest, WaitsNoLongerThanItMay) {
  say(header.substr(0, 20));
  EXPECT_EQ("the proxy's header did not come in time", taken(std::chrono::milliseconds(1)));
}

TEST_F(ProxiedClientTest, DoesNotWaitWhenTheServerStops) {
  EXPECT_EQ("the server is stopping", taken(std::chrono::minutes(1), /*stopped=*/true));
}

}  // namespace
}  // namespace Quarrow::Server
