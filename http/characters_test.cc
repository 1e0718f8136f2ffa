// Which characters stand where.
#include "http/characters.h"

#include <gtest/gtest.h>

namespace Quarrow::Http {
namespace {

TEST(Characters, MakeTokens) {
  for (const char* const text : {"GET", "x-forwarded-for", "a1!#$%&'*+-.^_`|~", "0"})
    EXPECT_TRUE(is_token(text)) << text;
  for (const char* const text : {"", "a b", "a:", "a,b", "\"a\"", "a\t", "a\r", "\xc3\xa4", "(a)",
                                 "a/b", "a=b", "a;b", "a@b", "[a]", "{a}", "<a>", "a?", "a\\b"})
    EXPECT_FALSE(is_token(text)) << text;
}

TEST(Characters, MakeHeaderValues) {
  for (const char* const text : {"", "a b", "a\tb", "\xc3\xa4", "\"a\""})
    EXPECT_TRUE(is_header_value(text)) << text;
  for (const std::string_view text : {"a\r\nb", "\n", "\r", "\x7f", "\x1b"})
    EXPECT_FALSE(is_header_value(text)) << text;
  EXPECT_FALSE(is_header_value(std::string_view("a\0b", 3)));
}

TEST(Characters, FollowEachOtherInLines) {
  EXPECT_TRUE(may_follow('\r', '\n'));
  for (const char last : {'\n', 'a', '\t', ' '}) {
    for (const char c : {'a', ' ', '\t', '\r', '\xff'}) EXPECT_TRUE(may_follow(last, c)) << last;
    for (const char c : {'\n', '\0', '\v', '\x7f', '\x1b'}) EXPECT_FALSE(may_follow(last, c)) << c;
  }
  for (const char c : {'a', '\r', ' ', '\0'}) EXPECT_FALSE(may_follow('\r', c)) << c;
}

}  // namespace
}  // namespace Quarrow::Http
