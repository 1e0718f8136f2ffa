// Text in memory, found by its path.
#include "system/memory_file.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace Quarrow
