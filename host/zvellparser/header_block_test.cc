// The header block, in good order and in none.
#include "host/zvellparser/header_block.h"

#include <gtest/gtest.h>

namespace {

std::string read(const std::string& message) {
  return zvellparser::read_header_block(message.data(), message.size());
}

struct BlockCase {
  std::string message;
  std::string want;
};

void expect_read(const std::vector<BlockCase>& cases) {
  for (const BlockCase& c : cases) EXPECT_EQ(c.want, read(c.message)) << c.message;
}

TEST(HeaderBlock, EndsAtTheFirstEmptyLine) {
  expect_read({
      {"A: 1\nB: 2\n\nC: 3\n", "A:1\nB:2\n"},
      {"A: 1\r\nB: 2\r\n\r\nC: 3\r\n", "A:1\nB:2\n"},
      {"A: 1\r\nB: 2\n\r\nC: 3\n", "A:1\nB:2\n"},
      {"A: 1\r\nB: 2\r\n\nC: 3\n", "A:1\nB:2\n"},
      {"A: 1\r\n\r\r\nC: 3\r\n", "A:1\n"},
      {"A: 1\nB: 2\n", "A:1\nB:2\n"},
      {"A: 1\nB: 2", "A:1\nB:2\n"},
      {"A: 1\r\nB: 2\r", "A:1\nB:2\n"},
      {"\nA: 1\n", ""},
      {"\r\nA: 1\n", ""},
      {"", ""},
      {"\n", ""},
  });
}

TEST(HeaderBlock, UnfoldsValues) {
  expect_read({
      {"A: 1\n 2\n\t3\nB: 4\n", "A:1 2 3\nB:4\n"},
      {"A: 1\r\n \t 2\r\nB: 3\r\n", "A:1 2\nB:3\n"},
      {"A: 1 \t\n 2\n", "A:1 2\n"},
      {"A: 1\t2\n", "A:1\t2\n"},
      {"A:\n 1\n", "A:1\n"},
      {"A: 1\n \n 2\n", "A:1 2\n"},
      {"A: \t 1 2 \t\n", "A:1 2\n"},
      {"A:\nB: \t\n", "A:\nB:\n"},
      {"A: 1 \r \r\n", "A:1\n"},
      {"A:b:c\n", "A:b:c\n"},
  });
}

TEST(HeaderBlock, HidesNoHeaderBehindABrokenLine) {
  expect_read({
      {"no colon\nB: 2\n", "B:2\n"},
      {"A: 1\nno colon\n folded\nB: 2\n", "A:1\nB:2\n"},
      {" folded\nB: 2\n", "B:2\n"},
      {": nameless\n folded\nB: 2\n", "B:2\n"},
      {"A name: 1\nB: 2\n", "B:2\n"},
      {"caf\xc3\xa9: 1\nB: 2\n", "B:2\n"},
      {"\x01: 1\nB: 2\n", "B:2\n"},
      {"A :1\nB\t: 2\n", "A:1\nB:2\n"},
      {"From a@example.org Mon Jan  1 10:00:00 2024\nB: 2\n", "B:2\n"},
      {">From a@example.org Mon Jan  1 10:00:00 2024\nB: 2\n", "B:2\n"},
      {"--boundary\nB: 2\n", "B:2\n"},
      {"A: 1\rx\nB: 2\n", "A:1\rx\nB:2\n"},
  });
}

TEST(HeaderBlock, LeavesNulsOut) {
  const auto with_nul = [](std::string text) {
    for (char& c : text) c = c == '@' ? '\0' : c;
    return text;
  };
  expect_read({
      {with_nul("A: x@y\nB: 2\n"), "A:xy\nB:2\n"},
      {with_nul("A: @ x @\nB: 2\n"), "A:x\nB:2\n"},
      {with_nul("A@C: x\nB: 2\n"), "B:2\n"},
      {with_nul("@\nB: 2\n"), "B:2\n"},
      {with_nul("@@@@"), ""},
  });
}

TEST(HeaderBlock, IsAnySize) {
  const std::string line(1 << 20, 'x');
  EXPECT_EQ("A:" + line + "\nB:2\n", read("A: " + line + "\n" + line + "\nB: 2\n"));
  std::string headers;
  std::string want;
  std::string folded = "A: 1\n";
  for (int i = 0; i < 100000; ++i) {
    headers += "X-A: y\n";
    want += "X-A:y\n";
    folded += " \n";
  }
  EXPECT_EQ(want, read(headers));
  EXPECT_EQ("A:1\nB:2\n", read(folded + "B: 2\n"));
}

}  // namespace
