// The line that tells how the server is, and who gets it.
#include "server/health.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "server/listener.h"
#include "server/local_client_test_support.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Server {
namespace {

TEST(Health, IsALine) {
  EXPECT_EQ("workers=10 busy=3 waiting=no uptime=86400\n",
            text_of({10, 3, false, std::chrono::hours(24)}));
  EXPECT_EQ("workers=0 busy=0 waiting=yes uptime=0\n", text_of({0, 0, true, {}}));
}

TEST(Health, IsToldToEachClientOnce) {
  const TemporaryFolder folder;
  const Descriptor listener(listen_at(folder.file("socket"), {}).fd);
  const Descriptor first(connect_to(folder.file("socket")));
  const Descriptor second(connect_to(folder.file("socket")));
  for (const Descriptor* client : {&first, &second}) {
    answer_at(listener.get(), "well\n");
    std::string heard;
    while (append_from(client->get(), heard) > 0) continue;
    EXPECT_EQ("well\n", heard);
  }
}

TEST(Health, WaitsForNobody) {
  const TemporaryFolder folder;
  const Descriptor listener(listen_at(folder.file("socket"), {}).fd);
  answer_at(listener.get(), "well\n");
  (void)close(connect_to(folder.file("socket")));
  answer_at(listener.get(), "well\n");
}

}  // namespace
}  // namespace Quarrow::Server
