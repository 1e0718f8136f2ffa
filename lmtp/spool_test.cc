// A message that comes in.
#include "lmtp/spool.h"

#include <gtest/gtest.h>

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

TEST(Spool, KeepsWhatIsAddedWithoutAName) {
  const TemporaryFolder folder;
  Spool spool(folder.path());
  ASSERT_TRUE(spool.open());
  EXPECT_TRUE(spool.add("one\n", 4));
  EXPECT_TRUE(spool.add("two\n", 4));
  EXPECT_EQ("one\ntwo\n", text_in(spool));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(Spool, GivesTheBeginningOfAMessage) {
  const TemporaryFolder folder;
  Spool spool(folder.path());
  EXPECT_EQ("", spool.header());
  ASSERT_TRUE(spool.open() && spool.add("short", 5));
  EXPECT_EQ("short", spool.header());
  const std::string more(most_header, 'x');
  ASSERT_TRUE(spool.add(more.data(), more.size()));
  EXPECT_EQ(("short" + more).substr(0, most_header), spool.header());
}

TEST(Spool, StartsAnew) {
  const TemporaryFolder folder;
  Spool spool(folder.path());
  ASSERT_TRUE(spool.open() && spool.add("one", 3) && spool.open());
  EXPECT_EQ(0U, spool.size());
  EXPECT_EQ("", text_in(spool));
}

TEST(Spool, SaysThatItHasNoPlace) {
  const TemporaryFolder folder;
  Spool spool(folder.file("missing"));
  EXPECT_FALSE(spool.open());
  EXPECT_FALSE(spool.add("x", 1));
}

}  // namespace
}  // namespace Quarrow::Lmtp
