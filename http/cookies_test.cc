// Cookies.
#include "http/cookies.h"

#include <gtest/gtest.h>

namespace Quarrow::Http {
namespace {

// The headers "cookie" of a request, and the value of the cookie "id"; "-" for none.
const struct {
  std::vector<std::string> headers;
  const char* value;
} cookies[] = {
    {{}, "-"},
    {{""}, "-"},
    {{"id=7"}, "7"},
    {{"a=1; id=7; b=2"}, "7"},
    {{"a=1;id=7;b=2"}, "7"},
    {{" \tid = 7 \t"}, "7"},
    {{"id="}, ""},
    {{"id"}, "-"},
    {{"id; id=7"}, "7"},
    {{"=id=7"}, "-"},
    {{"ID=7"}, "-"},
    {{"xid=7; id2=7; id =8"}, "8"},
    {{"id=a=b=="}, "a=b=="},
    {{"id=\"7\""}, "\"7\""},
    {{"a=\"x; id=7\""}, "7\""},
    {{"id=7; id=7"}, "-"},
    {{"id=7; id=8"}, "-"},
    {{"id=7", "id=8"}, "-"},
    {{"a=1", "id=7"}, "7"},
    {{"a=1, id=7"}, "-"},
    {{";;; ;id=7;"}, "7"},
};

TEST(Cookies, AreReadByTheirNames) {
  for (const auto& c : cookies) {
    Headers headers = {{"host", "id=9"}};
    for (const auto& header : c.headers) headers.emplace_back("cookie", header);
    EXPECT_EQ(c.value, cookie_of(headers, "id").value_or("-"))
        << (c.headers.empty() ? "" : c.headers[0]);
  }
}

TEST(Cookies, AreForThisHostItsPagesAndNoScript) {
  const auto header = set_cookie("__Host-id", "aB3-._~+/=", std::chrono::minutes(30));
  EXPECT_EQ("set-cookie", header.first);
  EXPECT_EQ("__Host-id=aB3-._~+/=; Max-Age=1800; Path=/; HttpOnly; Secure; SameSite=Strict",
            header.second);
}

TEST(Cookies, AreForgotten) {
  EXPECT_EQ("id=; Max-Age=0; Path=/; HttpOnly; Secure; SameSite=Strict",
            set_cookie("id", "", std::chrono::seconds(0)).second);
}

TEST(CookiesDeathTest, HaveNoAttributesInTheirValues) {
  for (const char* const value : {"a; Domain=example.org", "a\r\nx: y", "a,b", "\"a\"", "a b"})
    EXPECT_DEATH((void)set_cookie("id", value, std::chrono::seconds(1)), "value_characters");
  for (const char* const name : {"", "a=b", "a;b", "a b"})
    EXPECT_DEATH((void)set_cookie(name, "7", std::chrono::seconds(1)), "is_token");
}

}  // namespace
}  // namespace Quarrow::Http
