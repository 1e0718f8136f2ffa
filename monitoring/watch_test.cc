// Looks that are no looks at disks.
#include "monitoring/watch.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>

#include <csignal>

#include "monitoring/limits.h"
#include "system/child_process_test_support.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Monitoring {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Asks until the answer is `fault`; the test's own time limit ends it otherwise.
void expect_comes_to(Watch& watch, const std::string& fault) {
  while (watch.fault() != fault) (void)sched_yield();
}

TEST(Watch, TellsWhatTheLastLookFound) {
  const TemporaryFolder folder;
  const std::string path = folder.write("fault", "first");
  Watch watch([&path] { return content_of(path); }, {milliseconds(1), seconds(60)});
  expect_comes_to(watch, "first");
  (void)folder.write("fault", "");
  expect_comes_to(watch, "");
}

TEST(Watch, TellsThatALookHangs) {
  const Look hang = [] {
    for (;;) (void)pause();
    return std::string();
  };
  EXPECT_EQ("", Watch(hang).fault());
  Watch impatient(hang, {milliseconds(0), milliseconds(0)});
  expect_comes_to(impatient, "a look for faults takes too long");
}

TEST(Watch, CutsALongFault) {
  Watch watch([] { return std::string(5000, 'x'); });
  expect_comes_to(watch, std::string(longest_fault, 'x'));
}

TEST(Watch, EndsTheProcessThatAsksOneThatHasEnded) {
  EXPECT_EQ(EX_SOFTWARE, end_of_child([] {
                           Watch watch([]() -> std::string { _exit(0); });
                           expect_comes_to(watch, "nothing more");
                           return 0;
                         }).status);
}

// The other process has the only writing end of a fifo, which is closed once that process is gone.
TEST(Watch, EndsWithTheProcessThatAsks) {
  const TemporaryFolder folder;
  const std::string path = folder.file("fifo");
  ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
  const pid_t asking = start_child([&path] {
    Watch watch([&path] {
      (void)write_all(open(path.c_str(), O_WRONLY), "x");
      (void)pause();  // a look that hangs
      return "";
    });
    return pause();
  });
  const Descriptor reading_end(open(path.c_str(), O_RDONLY));
  char byte = 0;
  EXPECT_EQ(1, read(reading_end.get(), &byte, 1));
  (void)kill(asking, SIGKILL);
  (void)wait_for(asking);
  EXPECT_EQ(0, read(reading_end.get(), &byte, 1));
}

}  // namespace
}  // namespace Quarrow::Monitoring
