// Clients that want a proxy and this server to see different requests, and others that mean harm.
#include <gtest/gtest.h>

#include "http/http_session_test_support.h"

namespace Quarrow::Http {
namespace {

using namespace std::string_literals;

constexpr std::size_t mebibyte = 1048576;

std::string with(const std::string& headers) {
  return "GET / HTTP/1.1\r\nHost: x\r\n" + headers + "\r\n";
}

std::string chunked(const std::string& body) {
  return post("Transfer-Encoding: chunked\r\n", body);
}

struct Row {
  std::string said;
  const char* statuses;
};

// What can be read in two ways, or not at all. The last status is the end of the connection.
const Row refused[] = {
    // the request line
    {"\r\n\r\n", "400"},
    {" GET / HTTP/1.1\r\nHost: x\r\n\r\n", "400"},
    {"GET /\r\n\r\n", "400"},
    {"GET\r\n\r\n", "400"},
    {"GET / \r\n\r\n", "400"},
    {"GET  / HTTP/1.1\r\nHost: x\r\n\r\n", "400"},
    {"GET /  HTTP/1.1\r\nHost: x\r\n\r\n", "400"},
    {"GET\t/ HTTP/1.1\r\nHost: x\r\n\r\n", "400"},
    {"GET / HTTP/1.1 \r\nHost: x\r\n\r\n", "400"},
    {"GET / HTTP/1.1x\r\nHost: x\r\n\r\n", "400"},
    {"GET /a b HTTP/1.1\r\nHost: x\r\n\r\n", "400"},
    {"GET / http/1.1\r\nHost: x\r\n\r\n", "400"},
    {"GET / HTTP/1\r\nHost: x\r\n\r\n", "400"},
    {"GET / HTTP/1.1.1\r\nHost: x\r\n\r\n", "400"},
    {"GET / HTTP/x.1\r\nHost: x\r\n\r\n", "400"},
    {"GET / HTTP/1.10\r\nHost: x\r\n\r\n", "400"},
    {"GET / HTTP/0.9\r\nHost: x\r\n\r\n", "505"},
    {"GET / HTTP/1.2\r\nHost: x\r\n\r\n", "505"},
    {"GET / HTTP/2.0\r\nHost: x\r\n\r\n", "505"},
    {"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", "505"},
    // the method
    {"G\xc3\x84T / HTTP/1.1\r\nHost: x\r\n\r\n", "400"},
    {"G(T / HTTP/1.1\r\nHost: x\r\n\r\n", "400"},
    {" / HTTP/1.1\r\nHost: x\r\n\r\n", "400"},
    {"get / HTTP/1.1\r\nHost: x\r\n\r\n", "501"},
    {"FLY / HTTP/1.1\r\nHost: x\r\n\r\n", "501"},
    {"TRACE / HTTP/1.1\r\nHost: x\r\n\r\n", "501"},
    {"CONNECT x:443 HTTP/1.1\r\nHost: x:443\r\n\r\n", "501"},
    // the target
    {get("http://x/"), "400"},
    {get("x:443"), "400"},
    {get("*"), "400"},
    {"OPTIONS * HTTP/1.1\r\nHost: x\r\n\r\n", "400"},
    {get("rules"), "400"},
    {get("/../etc"), "400"},
    {get("/a%2fb"), "400"},
    {get("/%00"), "400"},
    {get("/a#b"), "400"},
    {get("/\xc3\xa4"), "400"},
    {get("/a\x01"), "400"},
    {get("/a\tb"), "400"},
    // the host
    {"GET / HTTP/1.1\r\n\r\n", "400"},
    {"GET / HTTP/1.1\r\nHost:\r\n\r\n", "400"},
    {with("Host: x\r\n"), "400"},
    {with("HOST: y\r\n"), "400"},
    {"GET / HTTP/1.0\r\nHost: x\r\nHost: y\r\n\r\n", "400"},
    {"GET / HTTP/1.1\r\nHost: x, y\r\n\r\n", "400"},
    {"GET / HTTP/1.1\r\nHost: x/y\r\n\r\n", "400"},
    {"GET / HTTP/1.1\r\nHost: a@x\r\n\r\n", "400"},
    {"GET / HTTP/1.1\r\nHost: x y\r\n\r\n", "400"},
    {"GET / HTTP/1.1\r\nHost: \xc3\xa4\r\n\r\n", "400"},
    {"GET / HTTP/1.1\r\nHost : x\r\n\r\n", "400"},
    // headers
    {with("Name\r\n"), "400"},
    {with("Name : x\r\n"), "400"},
    {with("Name\t: x\r\n"), "400"},
    {with(": x\r\n"), "400"},
    {with("Na me: x\r\n"), "400"},
    {with("N\xc3\xa4me: x\r\n"), "400"},
    {with("Na\"me: x\r\n"), "400"},
    {with("Name: a\r\n b\r\n"), "400"},
    {with("Name: a\r\n\tb\r\n"), "400"},
    {with("Name:\r\n \r\n"), "400"},
    {"GET / HTTP/1.1\r\n Host: x\r\n\r\n", "400"},
    {with("Name: a\0b\r\n"s), "400"},
    {with("Name\0: a\r\n"s), "400"},
    {with("Name: a\x01\r\n"), "400"},
    {with("Name: a\x7f\r\n"), "400"},
    {with("Name: a\v\r\n"), "400"},
    {with("Connection: \x1f close\r\n"), "400"},
    // line ends
    {"GET / HTTP/1.1\nHost: x\n\n", "400"},
    {"GET / HTTP/1.1\r\nHost: x\n\r\n", "400"},
    {"GET / HTTP/1.1\r\nHost: x\r\n\n", "400"},
    {"GET / HTTP/1.1\r\nHost: x\r\r\n\r\n", "400"},
    {"GET / HTTP/1.1\r\nHost: x\rA: b\r\n\r\n", "400"},
    {"GET / HTTP/1.1\rHost: x\r\n\r\n", "400"},
    {"\nGET / HTTP/1.1\r\nHost: x\r\n\r\n", "400"},
    {with("Name: a\nContent-Length: 5\r\n"), "400"},
    // lengths
    {post("Content-Length: 4\r\nContent-Length: 4\r\n", "more"), "400"},
    {post("Content-Length: 4\r\nContent-Length: 0\r\n", "more"), "400"},
    {post("Content-Length: 4, 4\r\n", "more"), "400"},
    {post("Content-Length: 4,\r\n", "more"), "400"},
    {post("Content-Length: +4\r\n", "more"), "400"},
    {post("Content-Length: -4\r\n", "more"), "400"},
    {post("Content-Length: 0x4\r\n", "more"), "400"},
    {post("Content-Length: 4 4\r\n", "more"), "400"},
    {post("Content-Length: 4;\r\n", "more"), "400"},
    {post("Content-Length: \"4\"\r\n", "more"), "400"},
    {post("Content-Length: 4.0\r\n", "more"), "400"},
    {post("Content-Length: \xd9\xa4\r\n", "more"), "400"},
    {post("Content-Length:\r\n", "more"), "400"},
    {post("Content-Length : 4\r\n", "more"), "400"},
    {post("Content-Length: 18446744073709551620\r\n", "more"), "400"},
    {post("Content-Length: 18446744073709551615\r\n", "more"), "413"},
    // transfer codings
    {post("Content-Length: 5\r\nTransfer-Encoding: chunked\r\n", "0\r\n\r\n"), "400"},
    {post("Transfer-Encoding: chunked\r\nContent-Length: 5\r\n", "0\r\n\r\n"), "400"},
    {post("Transfer-Encoding: gzip\r\nContent-Length: 5\r\n", "0\r\n\r\n"), "400"},
    {post("Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n", "0\r\n\r\n"), "400"},
    {post("Transfer-Encoding: gzip\r\nTransfer-Encoding: chunked\r\n", "0\r\n\r\n"), "400"},
    {post("Transfer-Encoding : chunked\r\n", "0\r\n\r\n"), "400"},
    {post("Transfer-Encoding:\x0b chunked\r\n", "0\r\n\r\n"), "400"},
    {post("Transfer-Encoding: \r\n chunked\r\n", "0\r\n\r\n"), "400"},
    {"POST / HTTP/1.0\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "400"},
    {post("Transfer-Encoding: gzip\r\n", "x"), "501"},
    {post("Transfer-Encoding: identity\r\n", "x"), "501"},
    {post("Transfer-Encoding: xchunked\r\n", "0\r\n\r\n"), "501"},
    {post("Transfer-Encoding: \"chunked\"\r\n", "0\r\n\r\n"), "501"},
    {post("Transfer-Encoding: gzip, chunked\r\n", "0\r\n\r\n"), "501"},
    {post("Transfer-Encoding: chunked, identity\r\n", "0\r\n\r\n"), "501"},
    {post("Transfer-Encoding: chunked, chunked\r\n", "0\r\n\r\n"), "501"},
    {post("Transfer-Encoding: ,chunked\r\n", "0\r\n\r\n"), "501"},
    {post("Transfer-Encoding: chunked;a=b\r\n", "0\r\n\r\n"), "501"},
    {post("Transfer-Encoding:\r\n", "0\r\n\r\n"), "501"},
    // chunks
    {chunked("\r\n"), "400"},
    {chunked("x\r\n"), "400"},
    {chunked("0x4\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("+4\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("-4\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked(" 4\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("4 \r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("4 ;a\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("4,a\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked(";a\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("4\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("4\rmore\r\n0\r\n\r\n"), "400"},
    {chunked("4;a\nb\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("4;a\"\r\"\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("4;a\0\r\nmore\r\n0\r\n\r\n"s), "400"},
    {chunked("4\r\nmore0\r\n\r\n"), "400"},
    {chunked("4\r\nmore\n0\r\n\r\n"), "400"},
    {chunked("4\r\nmore\r0\r\n\r\n"), "400"},
    {chunked("3\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("5\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("0000000000000004\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("10000000000000004\r\nmore\r\n0\r\n\r\n"), "400"},
    {chunked("fffffffffffffff\r\nmore\r\n0\r\n\r\n"), "413"},
    {chunked("0\r\nGET / HTTP/1.1\r\n\r\n"), "400"},
    {chunked("0\r\nName\r\n\r\n"), "400"},
    {chunked("0\r\nName : x\r\n\r\n"), "400"},
    {chunked("0\r\n: x\r\n\r\n"), "400"},
    {chunked("0\r\nName: x\n\r\n"), "400"},
    {chunked("0\r\n Name: x\r\n\r\n"), "400"},
    {chunked("0\n\r\n"), "400"},
    {chunked("0\r\n\n"), "400"},
    // behind requests that are in order
    {get("/") + "\r\n\r\n", "200, 400"},
    {get("/") + "GET / HTTP/1.1\n", "200, 400"},
    {post("Expect: 100-continue\r\nTransfer-Encoding: chunked\r\n", "x\r\n"), "100, 400"},
};

// Nothing behind a refusal is taken for a request.
TEST(HostileHttpSession, IsRefusedAndCutOff) {
  for (const auto& row : refused) {
    TestSession test;
    test.say(row.said + get("/smuggled"));
    EXPECT_EQ(row.statuses, test.statuses()) << row.said;
    EXPECT_TRUE(test.has_closed()) << row.said;
    for (const auto& request : test.requests) EXPECT_EQ("/", request.target) << row.said;
  }
}

// Talk that is in order, for the tests that cut it.
const Row accepted[] = {
    {get("/a") + get("/b"), "200, 200"},
    {"\r\n" + get("/a") + "\r\n" + get("/b") + "\r\n", "200, 200"},
    {post("Content-Length: 0\r\n", "") + get("/b"), "200, 200"},
    {post("Content-Length: 0004\r\n", "\r\n\r\n") + get("/b"), "200, 200"},
    {post("Content-Length: 4\r\n", "\0\n\r\xff"s) + get("/b"), "200, 200"},
    {chunked("0\r\n\r\n") + get("/b"), "200, 200"},
    {chunked("4\r\n\r\n\r\n\r\n0\r\n\r\n") + get("/b"), "200, 200"},
    {chunked("1;a=\"b\";c\r\nx\r\n01\r\ny\r\n000;d\r\nA: b\r\nC:\r\n\r\n") + get("/b"), "200, 200"},
    {post("Expect: 100-continue\r\nContent-Length: 4\r\n", "more") + get("/b"), "100, 200, 200"},
    {post("Expect: 100-continue\r\nTransfer-Encoding: chunked\r\n", "0\r\n\r\n"), "100, 200"},
    {post("Expect: 100-continue\r\nContent-Length: 0\r\n", "") + get("/b"), "200, 200"},
    {"GET / HTTP/1.0\r\nExpect: x\r\n\r\n", "200"},
    {"HEAD / HTTP/1.1\r\nHost: x\r\n\r\n" + get("/b"), "200, 200"},
    {"GET / HTTP/1.0\r\n\r\n" + get("/b"), "200"},
    {"GET / HTTP/1.0\r\nConnection: keep-alive\r\n\r\n" + get("/b"), "200, 200"},
    {"GET / HTTP/1.1\r\nHost: [::1]:8080\r\n\r\n", "200"},
    {with("Content-Length: 1\r\n") + "x" + get("/b"), "200, 200"},
};

// What comes of `said`, which is given in blocks that end at these places.
std::vector<std::string> answers_of(const std::string& said,
                                    const std::vector<std::size_t>& places) {
  TestSession test;
  std::size_t start = 0;
  for (const std::size_t end : places) {
    test.say(said.substr(start, end - start));
    start = end;
  }
  test.say(said.substr(start));
  return test.answers;
}

void expect_the_same_however_cut(const Row& row) {
  TestSession whole;
  whole.say(row.said);
  EXPECT_EQ(row.statuses, whole.statuses()) << row.said;
  std::vector<std::size_t> all;
  for (std::size_t place = 1; place < row.said.size(); ++place) {
    EXPECT_EQ(whole.answers, answers_of(row.said, {place})) << place << " of " << row.said;
    all.push_back(place);
  }
  EXPECT_EQ(whole.answers, answers_of(row.said, all)) << "byte by byte: " << row.said;
}

TEST(HostileHttpSession, GetsTheSameAnswersHoweverItCutsItsBytes) {
  for (const auto& row : refused) expect_the_same_however_cut(row);
  for (const auto& row : accepted) expect_the_same_however_cut(row);
}

TEST(HostileHttpSession, SurvivesAnEndAtEveryByte) {
  for (const auto& row : accepted)
    for (std::size_t length = 0; length <= row.said.size(); ++length) {
      TestSession test;
      test.say(row.said.substr(0, length));
      test.session.abandon();
      EXPECT_TRUE(test.session.is_over());
    }
}

// A mebibyte where a few bytes belong, and the answer.
const Row giants[] = {
    {std::string(mebibyte, 'G'), "414"},
    {"GET /" + std::string(mebibyte, 'x') + " HTTP/1.1\r\nHost: x\r\n\r\n", "414"},
    {with(std::string(mebibyte, 'x') + ": x\r\n"), "431"},
    {with("X: " + std::string(mebibyte, 'x') + "\r\n"), "431"},
    {with("X:" + std::string(mebibyte, ' ') + "\r\n"), "431"},
    {std::string(mebibyte, '\r'), "400"},
    {std::string(mebibyte, '\n'), "400"},
    {std::string(mebibyte, '\0'), "400"},
    {std::string(mebibyte, ' '), "400"},
    {post("Content-Length: 1048576\r\n", std::string(mebibyte, 'x')), "413"},
    {chunked("100000\r\n" + std::string(mebibyte, 'x')), "413"},
    {chunked(std::string(mebibyte, '0')), "431"},
    {chunked("1;" + std::string(mebibyte, 'x')), "431"},
    {chunked("0\r\nX: " + std::string(mebibyte, 'x')), "431"},
};

TEST(HostileHttpSession, IsRefusedForAMebibyteOfAnything) {
  for (const auto& row : giants) {
    TestSession test;
    test.say(row.said);
    EXPECT_EQ(row.statuses, test.statuses()) << row.said.substr(0, 50);
    EXPECT_TRUE(test.has_closed()) << row.said.substr(0, 50);
    EXPECT_EQ(0U, test.requests.size());
  }
}

}  // namespace
}  // namespace Quarrow::Http
