// Counters, their text and their file.
#include "server/counters.h"

#include <gtest/gtest.h>

#include "system/child_process_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Server {
namespace {

using std::chrono::microseconds;

Counters books() {
  return Counters({{"lent_total", "{kind=\"novel\"}", "Books that readers took home."},
                   {"lent_total", "{kind=\"atlas\"}", ""},
                   {"lost_total", "", "Books that did not come back."}});
}

const char text_of_books[] =
    "# HELP lent_total Books that readers took home.\n"
    "# TYPE lent_total counter\n"
    "lent_total{kind=\"novel\"} 0\n"
    "lent_total{kind=\"atlas\"} 2\n"
    "# HELP lost_total Books that did not come back.\n"
    "# TYPE lost_total counter\n"
    "lost_total 1\n";

Counters reading_times() {
  return Counters({}, Histogram{"reading_seconds",
                                "Time that reading took.",
                                {microseconds(500), microseconds(20000), microseconds(1000000),
                                 microseconds(10000000)}});
}

const char text_of_reading_times[] =
    "# HELP reading_seconds Time that reading took.\n"
    "# TYPE reading_seconds histogram\n"
    "reading_seconds_bucket{le=\"0.0005\"} 2\n"
    "reading_seconds_bucket{le=\"0.02\"} 3\n"
    "reading_seconds_bucket{le=\"1\"} 3\n"
    "reading_seconds_bucket{le=\"10\"} 4\n"
    "reading_seconds_bucket{le=\"+Inf\"} 5\n"
    "reading_seconds_sum 100.501401\n"
    "reading_seconds_count 5\n";

TEST(Counters, DescribeEachNameOnce) {
  Counters counters = books();
  for (const std::size_t row : {1U, 2U, 1U}) counters.add(row);
  EXPECT_EQ(text_of_books, counters.text());
}

TEST(Counters, CountOverProcesses) {
  Counters counters = books();
  counters.add(1);
  const auto count_more = [&counters] {
    counters.add(1);
    counters.add(2);
    return 0;
  };
  EXPECT_EQ(0, end_of_child(count_more).status);
  EXPECT_EQ(text_of_books, counters.text());
}

TEST(Counters, AddUpTheHistogram) {
  Counters counters = reading_times();
  for (const int took : {400, 500, 501, 1500000, 99000000})
    counters.add_duration(microseconds(took));
  EXPECT_EQ(text_of_reading_times, counters.text());
}

TEST(Counters, ReplaceTheirFile) {
  const TemporaryFolder folder;
  const Counters counters = books();
  const std::string path = folder.write("counters", "old");
  EXPECT_EQ("", counters.write(path));
  EXPECT_EQ(counters.text(), content_of(path));
  EXPECT_FALSE(std::filesystem::exists(path + ".new"));
}

TEST(Counters, SayWhyTheirFileCantBeWritten) {
  const TemporaryFolder folder;
  const std::string path = folder.file("missing/counters");
  EXPECT_EQ(path + ": No such file or directory", books().write(path));
}

}  // namespace
}  // namespace Quarrow::Server
