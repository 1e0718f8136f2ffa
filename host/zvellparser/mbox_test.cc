// Where the messages of an mbox lie.
#include <gtest/gtest.h>

#include "zvellparser.h"

namespace {

const std::string from = "From a@example.org Mon Jan  1 10:00:00 2024\n";

// The messages' texts.
std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> messages;
  for (const MessageSpan& span : mbox_messages(text.data(), text.size()))
    messages.push_back(text.substr(span.offset, span.length));
  return messages;
}

using Messages = std::vector<std::string>;

TEST(Mbox, HoldsItsMessagesWithoutTheLinesBetween) {
  EXPECT_EQ((Messages{"A: 1\n\nx\n", "B: 2\n\ny\n"}),
            split(from + "A: 1\n\nx\n\n" + from + "B: 2\n\ny\n\n"));
  EXPECT_EQ((Messages{"A: 1\r\n\r\nx\r\n", "B: 2\r\n"}),
            split("From a 10:00\r\nA: 1\r\n\r\nx\r\n\r\nFrom b 10:00\r\nB: 2\r\n\r\n"));
}

TEST(Mbox, MayLackItsLastEmptyLine) {
  EXPECT_EQ(Messages{"A: 1\n"}, split(from + "A: 1\n"));
  EXPECT_EQ(Messages{"A: 1"}, split(from + "A: 1"));
}

TEST(Mbox, MayHoldEmptyMessages) {
  EXPECT_EQ(Messages{""}, split(from));
  EXPECT_EQ(Messages{""}, split(from + "\n"));
  EXPECT_EQ((Messages{"", "A: 1\n"}), split(from + "\n" + from + "A: 1\n\n"));
}

TEST(Mbox, IsNotSplitByText) {
  const std::string cases[] = {
      "A: 1\n\nx\n" + from + "y\n",              // no empty line before
      "A: 1\n\nx\n\nFrom here on it is easy\n",  // no time
      "A: 1\n\nx\n\n>" + from + "y\n",           // quoted
      "A: 1\n\nx\n\n " + from + "y\n",
  };
  for (const std::string& message : cases) EXPECT_EQ(Messages{message}, split(from + message));
}

TEST(Mbox, BeginsWithAFromLine) {
  for (const std::string& text :
       {std::string(), std::string("A: 1\n"), "\n" + from,
        std::string("From: a@example.org 10:00\n\nx\n"), std::string("From here\n")})
    EXPECT_TRUE(split(text).empty()) << text;
}

}  // namespace
