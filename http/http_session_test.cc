// The conversation with clients that mean well.
#include "http/http_session.h"

#include <gtest/gtest.h>

#include "http/http_session_test_support.h"
#include "http/security_headers.h"

namespace Quarrow::Http {
namespace {

// The whole of an answer but for its date and what browsers are told.
std::string bare(std::string answer) {
  Headers told;
  add_security_headers(told);
  for (const auto& header : told) answer = without_line(answer, header.first + ": ");
  return answer;
}

TEST(HttpSession, SendsAStatusHeadersAndABody) {
  TestSession test({}, [](const Request&) {
    return Response{201, {{"location", "/rules/3"}}, "made\n"};
  });
  test.say(get("/"));
  ASSERT_EQ(1U, test.answers.size());
  EXPECT_EQ("HTTP/1.1 201 Created\r\nlocation: /rules/3\r\ncontent-length: 5\r\n\r\nmade\n",
            bare(test.answers[0]));
  EXPECT_FALSE(test.session.is_over());
}

TEST(HttpSession, GivesTheHandlerWhatTheClientWrote) {
  TestSession test;
  test.say(
      "PUT /a%20b?c=d HTTP/1.1\r\nHost: x\r\nIf-MATCH: \t\"7\" \t\r\nContent-Length: 5\r\n"
      "X: \xc3\xa4\r\nEmpty:\r\n\r\nmore\n");
  ASSERT_EQ(1U, test.requests.size());
  EXPECT_EQ("PUT", test.requests[0].method);
  EXPECT_EQ("/a%20b?c=d", test.requests[0].target);
  EXPECT_EQ("more\n", test.requests[0].body);
  const Headers headers = {{"host", "x"},
                           {"if-match", "\"7\""},
                           {"content-length", "5"},
                           {"x", "\xc3\xa4"},
                           {"empty", ""}};
  EXPECT_EQ(headers, test.requests[0].headers);
}

TEST(HttpSession, PutsChunksTogether) {
  TestSession test;
  test.say(
      post("Transfer-Encoding: Chunked\r\n",
           "4;name=\"value\"\r\nmore\r\n00C\r\n and\r\n more\n\r\n0;last\r\nTrailer: x\r\n\r\n"));
  EXPECT_EQ("POST /: more and\r\n more\n", test.body());
  ASSERT_EQ(1U, test.requests.size());
  EXPECT_EQ(nullptr, header_of(test.requests[0].headers, "trailer"));
  EXPECT_FALSE(test.session.is_over());
}

TEST(HttpSession, AnswersPipelinedRequestsInTheirOrder) {
  TestSession test;
  test.say(get("/1") + post("Content-Length: 4\r\n", "GET ") +
           post("Transfer-Encoding: chunked\r\n", "1\r\nG\r\n0\r\n\r\n") + get("/2"));
  std::vector<std::string> asked;
  for (const auto& request : test.requests) asked.push_back(request.target + request.body);
  EXPECT_EQ((std::vector<std::string>{"/1", "/GET ", "/G", "/2"}), asked);
  EXPECT_EQ("200, 200, 200, 200", test.statuses());
  EXPECT_EQ(4U, test.session.steps());
}

TEST(HttpSession, AnswersHeadAsGetWithoutABody) {
  TestSession test;
  test.say("HEAD /rules HTTP/1.1\r\nHost: x\r\n\r\n");
  ASSERT_EQ(1U, test.requests.size());
  EXPECT_EQ("GET", test.requests[0].method);
  EXPECT_EQ("HTTP/1.1 200 OK\r\ncontent-length: 12\r\n\r\n", bare(test.answers.at(0)));
}

TEST(HttpSession, SendsNoBodyWhereAStatusHasNone) {
  for (const int status : {204, 304}) {
    TestSession test({}, [status](const Request&) { return Response{status, {}, "body"}; });
    test.say(get("/"));
    EXPECT_EQ("", test.body()) << status;
    EXPECT_EQ(std::string::npos, test.answers.at(0).find("content-length")) << status;
  }
}

TEST(HttpSession, SkipsOneEmptyLineBeforeARequest) {
  TestSession test;
  test.say("\r\n" + get("/1") + "\r\n" + get("/2") + "\r\n");
  EXPECT_EQ("200, 200", test.statuses());
  test.session.time_out();
  EXPECT_EQ("200, 200", test.statuses());
}

// A request, and whether the connection stays open behind its answer.
const struct {
  const char* line_and_headers;
  bool stays;
} connections[] = {
    {"GET / HTTP/1.1\r\nHost: x\r\n", true},
    {"GET / HTTP/1.1\r\nHost: x\r\nConnection: close\r\n", false},
    {"GET / HTTP/1.1\r\nHost: x\r\nConnection: x, CLOSE\r\n", false},
    {"GET / HTTP/1.1\r\nHost: x\r\nConnection: keep-alive\r\n", true},
    {"GET / HTTP/1.1\r\nHost: x\r\nConnection: Upgrade\r\nUpgrade: h2c\r\n", true},
    {"GET / HTTP/1.0\r\n", false},
    {"GET / HTTP/1.0\r\nHost: x\r\nConnection: Keep-Alive\r\n", true},
};

TEST(HttpSession, KeepsTheConnectionWhereTheClientWantsIt) {
  for (const auto& c : connections) {
    TestSession test;
    test.say(c.line_and_headers + std::string("\r\n") + get("/again"));
    EXPECT_EQ(c.stays ? "200, 200" : "200", test.statuses()) << c.line_and_headers;
    EXPECT_EQ(!c.stays, test.has_closed()) << c.line_and_headers;
  }
}

TEST(HttpSession, TellsAnOldClientThatTheConnectionStays) {
  TestSession test;
  test.say("GET / HTTP/1.0\r\nConnection: keep-alive\r\n\r\n" + get("/"));
  EXPECT_NE(std::string::npos, test.answers.at(0).find("\r\nconnection: keep-alive\r\n"));
  EXPECT_EQ(std::string::npos, test.answers.at(1).find("\r\nconnection: "));
}

TEST(HttpSession, ClosesBehindAnAnswerWhenOthersWait) {
  TestSession test;
  test.say(get("/"));
  EXPECT_FALSE(test.has_closed());
  test.others_wait = true;
  EXPECT_FALSE(test.session.is_over());
  test.say(get("/"));
  EXPECT_TRUE(test.has_closed());
  EXPECT_EQ("200, 200", test.statuses());
}

TEST(HttpSession, ClosesBehindTheLastRequestThatAConnectionMayHave) {
  Limits limits;
  limits.requests = 3;
  TestSession test(limits);
  test.say(get("/1") + get("/2"));
  EXPECT_FALSE(test.session.is_over());
  test.say(get("/3") + get("/4"));
  EXPECT_EQ("200, 200, 200", test.statuses());
  EXPECT_TRUE(test.has_closed());
}

TEST(HttpSession, AsksForABodyThatTheClientHoldsBack) {
  TestSession test;
  test.say(post("Expect: 100-Continue\r\nContent-Length: 4\r\n", ""));
  EXPECT_EQ((std::vector<std::string>{"HTTP/1.1 100 Continue\r\n\r\n"}), test.answers);
  EXPECT_EQ(0U, test.session.steps());
  test.say("more");
  EXPECT_EQ("100, 200", test.statuses());
  EXPECT_EQ("POST /: more", test.body());
}

// Headers of a POST with a body of 4 bytes where 5 are allowed, and the answers' statuses.
const struct {
  const char* headers;
  const char* statuses;
} expectations[] = {
    {"Expect: 100-continue\r\nContent-Length: 4\r\n", "100, 200"},
    {"Expect: 100-continue\r\nContent-Length: 6\r\n", "413"},
    {"Expect: 100-continue, x\r\nContent-Length: 4\r\n", "417"},
    {"Expect: 100-continue\r\nExpect: x\r\nContent-Length: 4\r\n", "417"},
    {"Expect: x\r\nContent-Length: 4\r\n", "417"},
};

TEST(HttpSession, AsksOnlyForABodyThatItTakes) {
  Limits limits;
  limits.body = 5;
  for (const auto& c : expectations) {
    TestSession test(limits);
    test.say(post(c.headers, "more"));
    EXPECT_EQ(c.statuses, test.statuses()) << c.headers;
  }
}

TEST(HttpSession, TakesABodyToItsEndThatItRefusedForItsLength) {
  Limits limits;
  limits.body = 5;
  TestSession test(limits);
  test.say(post("Content-Length: 50\r\n", std::string(49, 'x')));
  EXPECT_EQ("413", test.statuses());
  EXPECT_FALSE(test.session.is_over());
  test.say("x" + get("/smuggled"));
  EXPECT_EQ("413", test.statuses());
  EXPECT_TRUE(test.has_closed());
}

TEST(HttpSession, SaysNothingMoreWhileItDropsABody) {
  void (Session::*const ends[])() = {&Session::stop, &Session::time_out, &Session::give_way};
  for (const auto end : ends) {
    TestSession test;
    test.say(post("Content-Length: 1000000\r\n", "x"));
    (test.session.*end)();
    EXPECT_TRUE(test.session.is_over());
    EXPECT_EQ("413", test.statuses());
  }
}

TEST(HttpSession, ClosesAtOnceBehindOtherRefusals) {
  TestSession test;
  test.say(post("Expect: x\r\nContent-Length: 4\r\n", ""));
  EXPECT_EQ("417", test.statuses());
  EXPECT_TRUE(test.has_closed());
}

TEST(HttpSession, DropsNoBodyForAClientThatIsGone) {
  TestSession test;
  test.connected = false;
  test.say(post("Content-Length: 1000000\r\n", ""));
  EXPECT_TRUE(test.session.is_over());
}

TEST(HttpSession, DoesNotAskWhereNoBodyComes) {
  TestSession test;
  test.say(post("Expect: 100-continue\r\nContent-Length: 0\r\n", ""));
  test.say("POST / HTTP/1.0\r\nExpect: 100-continue\r\nContent-Length: 1\r\n\r\nx");
  EXPECT_EQ("200, 200", test.statuses());
}

// What a client has said, and the status with which it is told of a time-out; empty for none.
const struct {
  std::string said;
  const char* status;
} silences[] = {
    {"", ""},
    {"\r\n", ""},
    {"G", "408"},
    {get("/"), "200"},
    {get("/") + "GET / HT", "200, 408"},
    {post("Content-Length: 4\r\n", "mor"), "408"},
    {post("Transfer-Encoding: chunked\r\n", "4\r\nmore\r\n0\r\n"), "408"},
};

TEST(HttpSession, TellsOfATimeOutWhereARequestHasBegun) {
  for (const auto& c : silences) {
    TestSession test;
    test.say(c.said);
    test.session.time_out();
    EXPECT_EQ(c.status, test.statuses()) << c.said;
    EXPECT_TRUE(test.session.is_over()) << c.said;
  }
}

TEST(HttpSession, GivesWayWithAnAnswerWhereOneIsExpected) {
  TestSession slow;
  slow.say("GET / HT");
  slow.session.give_way();
  EXPECT_EQ("503", slow.statuses());
  EXPECT_NE(std::string::npos, slow.answers.at(0).find("\r\nretry-after: 5\r\n"));
  EXPECT_TRUE(slow.has_closed());

  TestSession idle;
  idle.say(get("/"));
  idle.session.give_way();
  EXPECT_EQ("200", idle.statuses());
  EXPECT_TRUE(idle.session.is_over());
}

TEST(HttpSession, TurnsAClientAwayBeforeItSpoke) {
  std::string sent;
  const auto output = [&sent](const std::string& text) {
    sent += text;
    return true;
  };
  Session session(echo, {}, output, [] { return true; });
  session.give_way();
  EXPECT_EQ("HTTP/1.1 503 ", sent.substr(0, 13));
  EXPECT_TRUE(session.is_over());
}

TEST(HttpSession, StopsAtOnceBetweenRequests) {
  TestSession test;
  test.say(get("/"));
  test.session.stop();
  EXPECT_TRUE(test.session.is_over());
  EXPECT_EQ("200", test.statuses());
}

TEST(HttpSession, StopsBehindTheRequestUnderWay) {
  TestSession test;
  const std::string request = post("Content-Length: 4\r\n", "more");
  test.say(request.substr(0, 10));
  test.session.stop();
  EXPECT_FALSE(test.session.is_over());
  test.say(request.substr(10) + get("/"));
  EXPECT_EQ("200", test.statuses());
  EXPECT_TRUE(test.has_closed());
}

TEST(HttpSession, IsSilentAfterItsEnd) {
  TestSession test;
  test.say("GET / HT");
  test.session.abandon();
  EXPECT_TRUE(test.session.is_over());
  test.session.time_out();
  test.session.give_way();
  test.session.stop();
  test.say(get("/"));
  EXPECT_EQ("", test.statuses());
}

TEST(HttpSession, EndsWhenTheClientTakesNoAnswer) {
  TestSession test;
  test.connected = false;
  test.say(get("/1") + get("/2"));
  EXPECT_TRUE(test.session.is_over());
  EXPECT_EQ(1U, test.requests.size());
}

TEST(HttpSession, TellsBrowsersTheSameOfRefusals) {
  TestSession test;
  test.say("nonsense\r\n\r\n");
  EXPECT_NE(std::string::npos, test.answers.at(0).find("\r\ncontent-security-policy: "));
  EXPECT_NE(std::string::npos,
            test.answers.at(0).find("\r\ncontent-type: application/problem+json\r\n"));
}

// Answers that would not stay one answer.
const Response unsendable[] = {
    {200, {{"location", "/a\r\nset-cookie: a=b"}}, ""},
    {200, {{"location", "/a\nb"}}, ""},
    {200, {{"location", "/a\rb"}}, ""},
    {200, {{"location", std::string("/a\0b", 4)}}, ""},
    {200, {{"a\r\nb", "c"}}, ""},
    {200, {{"a b", "c"}}, ""},
    {200, {{"a:", "c"}}, ""},
    {200, {{"", "c"}}, ""},
    {200, {{"Location", "/a"}}, ""},
    {200, {{"content-length", "0"}}, "body"},
    {200, {{"transfer-encoding", "chunked"}}, "body"},
    {200, {{"connection", "close"}}, ""},
    {200, {{"date", "today"}}, ""},
    {100, {}, ""},
    {199, {}, ""},
    {600, {}, ""},
    {0, {}, ""},
};

TEST(HttpSession, SendsA500ForAnAnswerThatBreaksTheFraming) {
  for (const auto& response : unsendable) {
    TestSession test({}, [&response](const Request&) { return response; });
    test.say(get("/1") + get("/2"));
    EXPECT_EQ("500, 500", test.statuses())
        << response.status << (response.headers.empty() ? "" : response.headers[0].second);
    EXPECT_EQ(std::string::npos, test.answers.at(0).find("a=b"));
  }
}

}  // namespace
}  // namespace Quarrow::Http
