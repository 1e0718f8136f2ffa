// What the broker and the workers keep of their start.
#include "web_server/broker_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>

#include "delivery/sandbox.h"
#include "system/child_process_test_support.h"

namespace Quarrow::WebServer {
namespace {

bool is_closed(int fd) { return fcntl(fd, F_GETFD) < 0 && errno == EBADF; }

TEST(WebBrokerProcess, EndsWithItsIntroductions) {
  const BrokerProcess broker = start_broker([](int introductions) {
    char byte = 0;
    if (recv(introductions, &byte, 1, 0) != 0) throw std::runtime_error("not the end");
  });
  ASSERT_LT(0, broker.process);
  EXPECT_EQ(0, kill(broker.process, SIGTERM));  // has no effect, soon or late
  (void)close(broker.introductions);
  const ProcessEnd end = wait_for(broker.process);
  EXPECT_EQ(0, end.status);
}

TEST(WebBrokerProcess, HasNoDescriptorOfTheServer) {
  const int secret = open("/dev/null", O_RDONLY);
  const int high = fcntl(secret, F_DUPFD, 200);
  const BrokerProcess broker = start_broker([&](int introductions) {
    for (int fd = introductions + 1; fd <= high; ++fd)
      if (!is_closed(fd)) throw std::runtime_error("a descriptor is open");
  });
  EXPECT_EQ(0, wait_for(broker.process).status);
  for (const int fd : {secret, high, broker.introductions}) (void)close(fd);
}

TEST(WebBrokerProcess, TellsAFailureByItsStatus) {
  const BrokerProcess broker = start_broker([](int) { throw std::runtime_error("as asked"); });
  EXPECT_EQ(1, wait_for(broker.process).status);
  (void)close(broker.introductions);
}

TEST(WebWorker, OpensNoFile) {
  if (!Delivery::has_landlock()) GTEST_SKIP() << "the kernel has no Landlock";
  EXPECT_EQ(0, end_of_child([] {
                 if (!leave_files()) return 1;
                 for (const char* const path : {"/etc/passwd", "/dev/null", "/proc/self/mem"})
                   if (open(path, O_RDONLY) >= 0) return 2;
                 if (open("/tmp", O_TMPFILE | O_RDWR, 0600) >= 0) return 3;
                 return 0;
               }).status);
}

TEST(WebWorker, GainsNoRightsAndIsNotLookedInto) {
  EXPECT_EQ(0, end_of_child([] {
                 if (!leave_files()) return 1;
                 if (prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) != 1) return 2;
                 return prctl(PR_GET_DUMPABLE, 0, 0, 0, 0) == 0 ? 0 : 3;
               }).status);
}

}  // namespace
}  // namespace Quarrow::WebServer
