// Replies, and what is counted of them.
#include "homes/home_maps.h"

#include <gtest/gtest.h>

#include "homes/homes_test_support.h"

namespace Quarrow::Homes {
namespace {

class Maps : public testing::Test {
 protected:
  void expect_count(const std::string& counter, int count) {
    const std::string line = '\n' + counter + ' ' + std::to_string(count) + '\n';
    EXPECT_NE(std::string::npos, counters_.text().find(line)) << line << counters_.text();
  }

  const TestTable table_;
  HomeCounters counters_;
  HomeMaps maps_{HomeLookup(table_.file(), {}), counters_};
};

TEST_F(Maps, TellTransports) {
  EXPECT_EQ(std::string("OK ") + first_transport, maps_.answer("transport Alice@example.org"));
  EXPECT_EQ(std::string("OK ") + second_transport, maps_.answer("transport bob+lists@example.org"));
  EXPECT_EQ("OK retry:4.2.1 The mailbox is being moved",
            maps_.answer("transport carol@example.org"));
  EXPECT_EQ("NOTFOUND ", maps_.answer("transport dave@example.org"));
  expect_count("quarrow_home_lookups_total{result=\"found\"}", 2);
  expect_count("quarrow_home_lookups_total{result=\"moving\"}", 1);
  expect_count("quarrow_home_lookups_total{result=\"unknown\"}", 1);
}

TEST_F(Maps, TellUsers) {
  EXPECT_EQ("OK alice@example.org", maps_.answer("user Alice+x@example.org"));
  EXPECT_EQ("OK carol@example.org", maps_.answer("user carol@example.org"));
  EXPECT_EQ("NOTFOUND ", maps_.answer("user dave@example.org"));
  EXPECT_EQ("NOTFOUND ", maps_.answer("user "));
}

TEST_F(Maps, RefuseOtherRequests) {
  for (const char* const request : {"", "transport", "alice@example.org"})
    EXPECT_EQ("PERM a request is a map and a key", maps_.answer(request)) << request;
  for (const char* const request : {" ", "Transport alice@example.org", "users alice@example.org"})
    EXPECT_EQ("PERM there is no such map", maps_.answer(request)) << request;
  expect_count("quarrow_home_requests_refused_total", 6);
}

TEST_F(Maps, HaveMailWaitForTheTable) {
  std::filesystem::remove(table_.file());
  const std::string wait = "TEMP " + table_.file() + ": No such file or directory";
  EXPECT_EQ(wait, maps_.answer("transport alice@example.org"));
  EXPECT_EQ(wait, maps_.answer("user dave@example.org"));
  expect_count("quarrow_home_lookups_total{result=\"unavailable\"}", 2);
}

TEST_F(Maps, LogAReasonOnce) {
  std::filesystem::rename(table_.file(), table_.folder.file("aside"));
  testing::internal::CaptureStderr();
  for (int i = 0; i < 3; ++i) (void)maps_.answer("user alice@example.org");
  const std::string log = testing::internal::GetCapturedStderr();
  const std::string line = " error: " + table_.file() + ": No such file or directory\n";
  EXPECT_EQ(log.find(line), log.rfind(line)) << log;
  EXPECT_NE(std::string::npos, log.find(line)) << log;
  std::filesystem::rename(table_.folder.file("aside"), table_.file());
  EXPECT_EQ("OK alice@example.org", maps_.answer("user alice@example.org"));
  std::filesystem::remove(table_.file());
  testing::internal::CaptureStderr();
  (void)maps_.answer("user alice@example.org");
  EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find(line));
}

TEST(HomeCounters, CountWorkers) {
  HomeCounters counters;
  counters.add(HomeCounter::workers_replaced);
  EXPECT_NE(std::string::npos, counters.text().find("\nquarrow_workers_replaced_total 1\n"));
}

}  // namespace
}  // namespace Quarrow::Homes
