// Each limit: as much as it allows is taken, and one more is not.
#include <gtest/gtest.h>

#include "http/http_session_test_support.h"

namespace Quarrow::Http {
namespace {

std::string statuses_of(const Limits& limits, const std::string& said) {
  TestSession whole(limits);
  whole.say(said);
  TestSession in_bytes(limits);
  for (const char c : said) in_bytes.say(std::string(1, c));
  EXPECT_EQ(whole.answers, in_bytes.answers);
  return whole.statuses();
}

std::string filled(std::size_t size) { return std::string(size, 'x'); }

TEST(HttpLimits, BoundTheTarget) {
  EXPECT_EQ("200", statuses_of({}, get("/" + filled(4095))));
  EXPECT_EQ("414", statuses_of({}, get("/" + filled(4096))));
  EXPECT_EQ("414", statuses_of({}, get("/" + filled(20000))));
}

TEST(HttpLimits, BoundTheHeader) {
  const std::string around = "GET / HTTP/1.1\r\nHost: x\r\nA: \r\n\r\n";
  const auto header_of_size = [&around](std::size_t size) {
    std::string text = around;
    text.insert(text.size() - 4, filled(size - around.size()));
    return text;
  };
  EXPECT_EQ("200, 200", statuses_of({}, header_of_size(8192) + header_of_size(8192)));
  EXPECT_EQ("431", statuses_of({}, header_of_size(8193)));
}

TEST(HttpLimits, BoundTheHeaderNoLowerWhereItMustBeHigh) {
  Limits limits;
  limits.header = 100000;
  EXPECT_EQ("200",
            statuses_of(limits, "GET / HTTP/1.1\r\nHost: x\r\nA: " + filled(90000) + "\r\n\r\n"));
}

TEST(HttpLimits, BoundTheNumberOfHeaders) {
  const auto with_headers = [](unsigned count) {
    std::string text = "GET / HTTP/1.1\r\nHost: x\r\n";
    for (unsigned i = 1; i < count; ++i) text += "A: b\r\n";
    return text + "\r\n";
  };
  EXPECT_EQ("200", statuses_of({}, with_headers(100)));
  EXPECT_EQ("431", statuses_of({}, with_headers(101)));
}

TEST(HttpLimits, BoundABodyByTheLengthThatItTells) {
  const std::size_t limit = Limits().body;
  EXPECT_EQ("200", statuses_of({}, post("Content-Length: " + std::to_string(limit) + "\r\n",
                                        filled(limit))));
  EXPECT_EQ("413",
            statuses_of({}, post("Content-Length: " + std::to_string(limit + 1) + "\r\n", "")));
}

TEST(HttpLimits, BoundWhatIsDroppedOfABody) {
  const auto stays_for = [](std::size_t length) {
    TestSession test;
    test.say(post("Content-Length: " + std::to_string(length) + "\r\n", ""));
    EXPECT_EQ("413", test.statuses()) << length;
    return !test.session.is_over();
  };
  EXPECT_TRUE(stays_for(most_dropped));
  EXPECT_FALSE(stays_for(most_dropped + 1));
}

TEST(HttpLimits, BoundTheSumOfChunks) {
  Limits limits;
  limits.body = 20;
  const std::string first = "a\r\n0123456789\r\n";
  EXPECT_EQ("200", statuses_of(limits, post("Transfer-Encoding: chunked\r\n",
                                            first + "a\r\n0123456789\r\n0\r\n\r\n")));
  EXPECT_EQ("413", statuses_of(limits, post("Transfer-Encoding: chunked\r\n", first + "b\r\n")));
  EXPECT_EQ("413", statuses_of(limits, post("Transfer-Encoding: chunked\r\n",
                                            first + "a\r\n0123456789\r\n1\r\n")));
}

// Extensions and trailers: a semicolon belongs to the extension, the line ends to nobody.
TEST(HttpLimits, BoundWhatChunksBringBesidesTheirContent) {
  const auto with_extras = [](std::size_t first, std::size_t second, std::size_t trailer) {
    return post("Transfer-Encoding: chunked\r\n",
                "1;" + filled(first - 1) + "\r\nx\r\n1;" + filled(second - 1) +
                    "\r\nx\r\n0\r\nA:" + filled(trailer - 2) + "\r\n\r\n");
  };
  EXPECT_EQ("200", statuses_of({}, with_extras(4000, 4000, 192)));
  EXPECT_EQ("431", statuses_of({}, with_extras(4000, 4000, 193)));
  EXPECT_EQ("431", statuses_of({}, with_extras(4000, 4193, 192)));
}

}  // namespace
}  // namespace Quarrow::Http
