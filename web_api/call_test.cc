// What a header and a parameter say.
#include "web_api/call.h"

#include <gtest/gtest.h>

namespace Quarrow::WebApi {
namespace {

// The revision that the header names; "refused" where it can't be taken.
std::string revision_in(const std::string& header) {
  std::string revision;
  return read_if_match({"PUT", "/", {{"if-match", header}}, ""}, revision) ? revision : "refused";
}

TEST(ReadIfMatch, TakesOneTag) {
  std::string revision;
  EXPECT_TRUE(read_if_match({"PUT", "/", {}, ""}, revision));
  EXPECT_EQ("", revision);
  EXPECT_EQ("0123456789ab", revision_in("\"0123456789ab\""));
  EXPECT_EQ("0123456789ab", revision_in("W/\"0123456789ab\""));
  for (const char* header : {"", "*", "a", "\"", "\"\"", "\"a", "a\"", "W/", "W/\"", "W/a\"",
                             "w/\"a\"", "\"a\", \"b\"", "\"a\" ", " \"a\""})
    EXPECT_EQ("refused", revision_in(header)) << header;
}

TEST(FlagOf, IsTrueOrFalse) {
  const Context context = {EmailAddress("alice@example.org"), "", ""};
  const Call call = {
      context, "", {{"a", "true"}, {"b", "false"}, {"c", ""}, {"d", "1"}}, nullptr, ""};
  EXPECT_EQ(true, flag_of(call, "a"));
  EXPECT_EQ(false, flag_of(call, "b"));
  EXPECT_EQ(false, flag_of(call, "e"));
  EXPECT_EQ(std::nullopt, flag_of(call, "c"));
  EXPECT_EQ(std::nullopt, flag_of(call, "d"));
}

}  // namespace
}  // namespace Quarrow::WebApi
