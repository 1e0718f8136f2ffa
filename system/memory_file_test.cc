// Text in memory, found by its path.
#include "system/memory_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "system/child_process_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow {
namespace {

TEST(MemoryFile, IsFoundByItsPath) {
  const MemoryFile file;
  ASSERT_LE(0, file.fd());
  EXPECT_EQ("", file.read());
  ASSERT_TRUE(file.write("text"));
  EXPECT_EQ("text", content_of(file.path()));
  write_file(file.path(), "another");
  EXPECT_EQ("another", file.read());
}

TEST(MemoryFile, HoldsNothingOfItsLastContent) {
  const MemoryFile file;
  const std::string text(100000, 'x');
  ASSERT_TRUE(file.write(text));
  EXPECT_EQ(text, file.read());
  ASSERT_TRUE(file.write("short"));
  EXPECT_EQ("short", file.read());
}

TEST(MemoryFile, IsNotWrittenInPart) {
  const ProcessEnd end = end_of_child([] {
    const MemoryFile file;
    const rlimit few_bytes = {4, 4};
    if (setrlimit(RLIMIT_FSIZE, &few_bytes) != 0) return 2;
    (void)std::signal(SIGXFSZ, SIG_IGN);
    return file.write("text") && !file.write("longer text") ? 0 : 1;
  });
  EXPECT_EQ(0, end.signal);
  EXPECT_EQ(0, end.status);
}

}  // namespace
}  // namespace Quarrow
