// Spooling a message.
#include "apps/quarrow/message_spool.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sysexits.h>
#include <unistd.h>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Command {
namespace {

constexpr std::size_t most_in_memory = std::size_t{4} << 20;

Fault spool_file(const std::string& path, MessageSpool& spool,
                 std::uint64_t max_size = 4 * most_in_memory) {
  const Descriptor input(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return spool.read(input.get(), max_size);
}

TEST(MessageSpool, HoldsTheMessageWithoutItsSeparator) {
  const TemporaryFolder folder;
  const struct {
    std::string input;
    std::string want;
  } cases[] = {{"A: b\n\nc", "A: b\n\nc"},
               {"From bob Mon May  4 12:00:00 2026\nA: b\n\nFrom c\n", "A: b\n\nFrom c\n"},
               {"From: b\n\n", "From: b\n\n"},
               {std::string("\0\xff\r\n", 4), std::string("\0\xff\r\n", 4)}};
  for (const auto& c : cases) {
    MessageSpool spool;
    const Fault fault = spool_file(folder.write("message", c.input), spool);
    EXPECT_FALSE(fault) << fault.reason;
    EXPECT_EQ(c.want, spool.bytes());
  }
}

TEST(MessageSpool, HoldsMessagesOfAnySize) {
  const TemporaryFolder folder;
  for (const std::size_t size :
       {most_in_memory - 1, most_in_memory, most_in_memory + 1, 2 * most_in_memory + 7}) {
    std::string text(size, 'x');
    text[size / 2] = '\n';
    text.back() = 'z';
    MessageSpool spool;
    const Fault fault = spool_file(folder.write("message", "From x\n" + text), spool);
    EXPECT_FALSE(fault) << fault.reason;
    EXPECT_TRUE(spool.bytes() == text) << size;  // too long to be shown
    EXPECT_EQ(-1, pwrite(spool.fd(), "x", 1, 0)) << size;
  }
}

TEST(MessageSpool, HoldsNoMoreThanTheLargestMessage) {
  const TemporaryFolder folder;
  for (const std::size_t size : {std::size_t{10}, most_in_memory, 2 * most_in_memory + 7}) {
    const std::string path = folder.write("message", "From x\n" + std::string(size, 'x'));
    MessageSpool largest;
    EXPECT_FALSE(spool_file(path, largest, size)) << size;
    MessageSpool spool;
    const Fault fault = spool_file(path, spool, size - 1);
    EXPECT_EQ("larger than " + std::to_string(size - 1) + " bytes", fault.reason);
    EXPECT_EQ(EX_DATAERR, fault.status) << size;
  }
}

TEST(MessageSpool, ReadsAnEndlessInputUpToTheLargestMessage) {
  MessageSpool spool;
  EXPECT_EQ(EX_DATAERR, spool_file("/dev/zero", spool).status);
}

TEST(MessageSpool, RefusesAnEmptyMessage) {
  const TemporaryFolder folder;
  for (const char* input : {"", "From x\n", "From x"}) {
    MessageSpool spool;
    const Fault fault = spool_file(folder.write("message", input), spool);
    EXPECT_EQ("empty, no message", fault.reason) << input;
    EXPECT_EQ(EX_TEMPFAIL, fault.status) << input;
  }
}

TEST(MessageSpool, SaysThatItCanNotRead) {
  const TemporaryFolder folder;
  MessageSpool spool;
  const Fault fault = spool_file(folder.path(), spool);
  EXPECT_EQ("can't be read: Is a directory", fault.reason);
  EXPECT_EQ(EX_TEMPFAIL, fault.status);
}

}  // namespace
}  // namespace Quarrow::Command
