// A message that comes in.
#include "lmtp/spool.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "lmtp/limits.h"
#include "system/file_io.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Lmtp {
namespace {

std::string text_in(const Spool& spool) {
  std::string text;
  while (append_next(spool.fd(), text) > 0) continue;
  return text;
}

constexpr std::uint64_t most_in_memory = 6;

TEST(Spool, KeepsWhatIsAddedWithoutAName) {
  const TemporaryFolder folder;
  Spool spool(folder.path(), most_in_memory);
  ASSERT_TRUE(spool.open());
  EXPECT_TRUE(spool.add("one\n", 4));
  EXPECT_TRUE(spool.add("two\n", 4));
  EXPECT_EQ("one\ntwo\n", text_in(spool));
  EXPECT_EQ(8U, spool.size());
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

// The device that the spool's file is on.
dev_t device_of(const Spool& spool) {
  struct stat status {};
  EXPECT_EQ(0, fstat(spool.fd(), &status));
  return status.st_dev;
}

dev_t device_of(const TemporaryFolder& folder) {
  struct stat status {};
  EXPECT_EQ(0, stat(folder.path().c_str(), &status));
  return status.st_dev;
}

TEST(Spool, OnlyWhatIsTooLargeForMemoryIsOnTheDisk) {
  const TemporaryFolder folder;
  Spool spool(folder.path(), most_in_memory);
  for (int message = 0; message < 3; ++message) {
    ASSERT_TRUE(spool.open() && spool.add("123456", 6));
    EXPECT_NE(device_of(folder), device_of(spool));
    ASSERT_TRUE(spool.add("7", 1));
    EXPECT_EQ(device_of(folder), device_of(spool));
    ASSERT_TRUE(spool.add("8", 1));
    EXPECT_EQ("12345678", text_in(spool));
  }
  Spool on_disk(folder.path(), 0);
  ASSERT_TRUE(on_disk.open() && on_disk.add("1", 1));
  EXPECT_EQ(device_of(folder), device_of(on_disk));
}

TEST(Spool, GivesTheBeginningOfAMessage) {
  const TemporaryFolder folder;
  Spool spool(folder.path(), most_in_memory);
  EXPECT_EQ("", spool.header());
  ASSERT_TRUE(spool.open() && spool.add("short", 5));
  EXPECT_EQ("short", spool.header());
  const std::string more(most_header, 'x');
  ASSERT_TRUE(spool.add(more.data(), more.size()));
  EXPECT_EQ(("short" + more).substr(0, most_header), spool.header());
}

TEST(Spool, StartsAnew) {
  const TemporaryFolder folder;
  Spool spool(folder.path(), most_in_memory);
  for (const std::string message : {"one", "message"}) {
    ASSERT_TRUE(spool.open() && spool.add(message.data(), message.size()) && spool.open());
    EXPECT_EQ(0U, spool.size());
    EXPECT_EQ("", text_in(spool));
    ASSERT_TRUE(spool.add("next", 4));
    EXPECT_EQ("next", text_in(spool));
  }
}

TEST(Spool, SaysThatItHasNoPlace) {
  const TemporaryFolder folder;
  Spool spool(folder.file("missing"), most_in_memory);
  EXPECT_FALSE(spool.add("x", 1));
  EXPECT_TRUE(spool.open() && spool.add("123456", 6));
  EXPECT_FALSE(spool.add("7", 1));
}

}  // namespace
}  // namespace Quarrow::Lmtp
