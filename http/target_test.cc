// Targets that lead somewhere, and tricks.
#include "http/target.h"

#include <gtest/gtest.h>

namespace Quarrow::Http {
namespace {

using Names = std::vector<std::string>;
using Parameters = std::vector<std::pair<std::string, std::string>>;

const struct {
  const char* text;
  Names segments;
  Parameters parameters;
} targets[] = {
    {"/", {}, {}},
    {"/rules", {"rules"}, {}},
    {"/api/v1/rules/3", {"api", "v1", "rules", "3"}, {}},
    {"/rules/", {"rules", ""}, {}},
    {"/a%20b+c", {"a b+c"}, {}},
    {"/%c3%A4", {"\xc3\xa4"}, {}},
    {"/a%25b", {"a%b"}, {}},
    {"/%252e%252e", {"%2e%2e"}, {}},
    {"/%252f", {"%2f"}, {}},
    {"/.a/..b/...", {".a", "..b", "..."}, {}},
    {"/a;b=c,d:e@f!g$h&i'j(k)l*m~n", {"a;b=c,d:e@f!g$h&i'j(k)l*m~n"}, {}},
    {"/?", {}, {}},
    {"/?a", {}, {{"a", ""}}},
    {"/?a=", {}, {{"a", ""}}},
    {"/?=a", {}, {{"", "a"}}},
    {"/?a=b&c=d", {}, {{"a", "b"}, {"c", "d"}}},
    {"/?a=1&a=2", {}, {{"a", "1"}, {"a", "2"}}},
    {"/?&&a&", {}, {{"a", ""}}},
    {"/?a=b=c?d/e", {}, {{"a", "b=c?d/e"}}},
    {"/?a+b=c+d%2Be", {}, {{"a b", "c d+e"}}},
    {"/?a%3Db=%26%2f%5C", {}, {{"a=b", "&/\\"}}},
    {"/?folder=..%2F..", {}, {{"folder", "../.."}}},
    {"/a?%C3%A4=%F0%9F%93%AC", {"a"}, {{"\xc3\xa4", "\xf0\x9f\x93\xac"}}},
};

TEST(Target, HasSegmentsAndParameters) {
  for (const auto& c : targets) {
    const auto target = parse_target(c.text);
    ASSERT_TRUE(target) << c.text;
    EXPECT_EQ(c.segments, target->segments) << c.text;
    EXPECT_EQ(c.parameters, target->parameters) << c.text;
  }
}

const std::string refused_targets[] = {
    // other forms
    "", "*", "rules", "?a", "http://x/", "https://x/rules", "x:443", "//x/rules", "/http://x/",
    // segments that are empty, or lead elsewhere
    "/a//b", "/a//", "//", "/.", "/..", "/../", "/a/./b", "/a/../b", "/%2e", "/%2E%2e", "/.%2e/a",
    "/a%2fb", "/a%2Fb", "/%2f", "/a%5cb", "/a%5Cb", "/..%5c", "/a\\b",
    // codes
    "/%", "/%4", "/%4/", "/%zz", "/%4g", "/%g4", "/% 41", "/%+1", "/?%", "/?a=%f", "/?%0g",
    // control characters
    "/%00", "/a%00.html", "/%0a", "/%0D%0A", "/%09", "/%7f", "/?a=%00", "/?a%0d=b", "/?a=b%0a",
    std::string("/\0", 2), "/\n", "/\x7f",
    // what is not UTF-8: a lone byte, an overlong slash and dot, a surrogate, beyond U+10FFFF
    "/%ff", "/%c3", "/%c0%af", "/%c0%ae%c0%ae", "/%ed%a0%80", "/%f4%90%80%80", "/?a=%c3&b=%a4",
    // characters that have no place in a target
    "/\xc3\xa4", "/a b", "/?a b", "/a#b", "/?a#b", "/a\"b", "/<a>", "/{a}", "/a|b", "/a^b", "/`",
    "/[a]", "/?a=\"b\""};

TEST(Target, RefusesWhatCouldBeReadInTwoWays) {
  for (const auto& text : refused_targets) EXPECT_FALSE(parse_target(text)) << text;
}

}  // namespace
}  // namespace Quarrow::Http
