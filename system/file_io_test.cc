// Files and pipes, read and written in blocks.
#include "system/file_io.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>

#include "system/child_process_test_support.h"
#include "system/descriptor.h"
#include "system/nameless_file.h"

namespace Quarrow {
namespace {

// More than any block, and no two blocks of it are alike.
std::string long_text() {
  std::string text;
  for (int i = 0; i < 100000; ++i) text += std::to_string(i) + '\n';
  return text;
}

struct Pipe {
  Pipe() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(0, pipe(ends));
    out = ends[0];
    in = ends[1];
  }
  int out = -1;
  int in = -1;
};

TEST(FileIo, WritesToAFileAndReadsItBlockByBlock) {
  const Descriptor file(nameless_file_in_memory());
  ASSERT_TRUE(write_all(file.get(), long_text()));
  std::string text;
  ssize_t count = 0;
  while ((count = append_next(file.get(), text)) > 0) continue;
  EXPECT_EQ(0, count);
  EXPECT_TRUE(text == long_text());
}

TEST(FileIo, WritesToAPipeAndReadsItBlockByBlock) {
  const Pipe pipe;
  const Descriptor out(pipe.out);
  const pid_t writer = start_child([&pipe] { return write_all(pipe.in, long_text()) ? 0 : 1; });
  close(pipe.in);
  std::string text;
  ssize_t count = 0;
  while ((count = append_from(pipe.out, text)) > 0) continue;
  EXPECT_EQ(0, count);
  EXPECT_TRUE(text == long_text());
  EXPECT_EQ(0, wait_for(writer).status);
}

TEST(FileIo, ReadsFromAPlaceInAFile) {
  const Descriptor file(nameless_file_in_memory());
  ASSERT_TRUE(write_all(file.get(), "0123456789"));
  std::string text(3, '?');
  EXPECT_EQ(3, read_at(file.get(), text.data(), text.size(), 4));
  EXPECT_EQ("456", text);
  EXPECT_EQ(2, read_at(file.get(), text.data(), text.size(), 8));
  EXPECT_EQ(0, read_at(file.get(), text.data(), text.size(), 10));
}

TEST(FileIo, TellsThatNotAllWasWritten) {
  const Descriptor file(nameless_file_in_memory());
  const auto write_beyond_the_limit = [&file] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{5, 5};
    (void)setrlimit(RLIMIT_FSIZE, &limit);
    return !write_all(file.get(), "0123456789") && errno == EFBIG ? 0 : 1;
  };
  EXPECT_EQ(0, end_of_child(write_beyond_the_limit).status);
  std::string text;
  (void)append_next(file.get(), text);
  EXPECT_EQ("01234", text);
}

TEST(FileIo, TellsThatThereIsNoFile) {
  std::string text = "as it was";
  EXPECT_FALSE(write_all(-1, "x"));
  EXPECT_GT(0, read_at(-1, text.data(), text.size(), 0));
  EXPECT_GT(0, append_next(-1, text));
  EXPECT_GT(0, append_from(-1, text));
  EXPECT_EQ("as it was", text);
}

}  // namespace
}  // namespace Quarrow
