// Netstrings, made and read.
#include "homes/netstring.h"

#include <gtest/gtest.h>

#include <vector>

namespace Quarrow::Homes {
namespace {

using State = NetstringReader::State;
using Texts = std::vector<std::string>;

// What comes of bytes in blocks of `block`: the texts, and whether the reader may go on.
struct Reading {
  explicit Reading(const std::string& bytes, std::size_t block) {
    NetstringReader reader(12);
    for (std::size_t start = 0; start < bytes.size() && reader.state() != State::wrong;) {
      start += reader.read(bytes.data() + start, std::min(block, bytes.size() - start));
      if (reader.state() == State::complete) texts.push_back(reader.take_text());
    }
    end = reader.state();
  }

  Texts texts;
  State end;
};

TEST(Netstring, HasItsLengthInFront) {
  EXPECT_EQ("5:hello,", netstring("hello"));
  EXPECT_EQ("0:,", netstring(""));
  EXPECT_EQ(std::string("3:a\0b,", 6), netstring(std::string("a\0b", 3)));
}

const struct {
  std::string bytes;
  Texts texts;
  State end;
} cases[] = {
    {"5:hello,", {"hello"}, State::begin},
    {"0:,", {""}, State::begin},
    {"12:hello world!,3:a,b,", {"hello world!", "a,b"}, State::begin},
    {std::string("1:\0,2:\n:,", 9), {std::string("\0", 1), "\n:"}, State::begin},
    {"1:a,5:hel", {"a"}, State::incomplete},
    {"1:a,5:hello", {"a"}, State::incomplete},
    {"1:a,5", {"a"}, State::incomplete},
    {"1:a,1:", {"a"}, State::incomplete},
    {"1:a,13:", {"a"}, State::wrong},
    {"1:a,99999999999999999999999999999999999999:", {"a"}, State::wrong},
    {"1:a,1:b\n", {"a"}, State::wrong},
    {"1:a,\n1:b,", {"a"}, State::wrong},
    {"1:a,:b,", {"a"}, State::wrong},
    {"1:a,-1:b,", {"a"}, State::wrong},
    {"1:a, 1:b,", {"a"}, State::wrong},
    {"1:a,01:b,", {"a"}, State::wrong},
    {"1:a,00:,", {"a"}, State::wrong},
    {"1:a,1x:b,", {"a"}, State::wrong},
    {"transport alice@example.org\n", {}, State::wrong},
};

TEST(Netstring, IsReadHoweverItIsCut) {
  for (const auto& c : cases)
    for (const std::size_t block :
         {c.bytes.size(), std::size_t{1}, std::size_t{2}, std::size_t{3}}) {
      const Reading reading(c.bytes, block);
      EXPECT_EQ(c.texts, reading.texts) << c.bytes << " by " << block;
      EXPECT_EQ(c.end, reading.end) << c.bytes << " by " << block;
    }
}

TEST(Netstring, IsNotReadOnWhenItIsWrong) {
  NetstringReader reader(12);
  EXPECT_EQ(1U, reader.read("x1:a,", 5));
  EXPECT_EQ(0U, reader.read("1:a,", 4));
  EXPECT_EQ(State::wrong, reader.state());
}

TEST(Netstring, LeavesTheNextOne) {
  NetstringReader reader(12);
  EXPECT_EQ(4U, reader.read("1:a,1:b,", 8));
  EXPECT_EQ(0U, reader.read("1:b,", 4));
  EXPECT_EQ("a", reader.take_text());
  EXPECT_EQ(4U, reader.read("1:b,", 4));
  EXPECT_EQ("b", reader.take_text());
}

}  // namespace
}  // namespace Quarrow::Homes
