// Calls and answers that come from elsewhere.
#include "web_server/broker_call.h"

#include <gtest/gtest.h>

#include <string>

namespace Quarrow::WebServer {
namespace {

Call full_call() {
  Call call;
  call.kind = Call::Kind::sign_in;
  call.client = "192.0.2.1";
  call.proxy_user = "alice@example.org";
  call.session = "session";
  call.token = "token";
  call.user = "Alice@example.org";
  call.password = std::string("pass\0word", 9);
  call.request = {"PUT", "/api/v1/rules/3", {{"if-match", "\"5\""}, {"accept", ""}}, "{}"};
  return call;
}

TEST(WebCall, ComesAsItWasSent) {
  const Call sent = full_call();
  const auto call = decode_call(encode(sent));
  ASSERT_TRUE(call);
  EXPECT_EQ(sent.kind, call->kind);
  EXPECT_EQ(sent.client, call->client);
  EXPECT_EQ(sent.proxy_user, call->proxy_user);
  EXPECT_EQ(sent.session, call->session);
  EXPECT_EQ(sent.token, call->token);
  EXPECT_EQ(sent.user, call->user);
  EXPECT_EQ(sent.password, call->password);
  EXPECT_EQ(sent.request.method, call->request.method);
  EXPECT_EQ(sent.request.target, call->request.target);
  EXPECT_EQ(sent.request.headers, call->request.headers);
  EXPECT_EQ(sent.request.body, call->request.body);
}

TEST(WebCall, IsWholeOrNone) {
  const std::string packet = encode(full_call());
  for (std::size_t size = 0; size < packet.size(); ++size)
    EXPECT_FALSE(decode_call(packet.substr(0, size))) << size;
  EXPECT_FALSE(decode_call(packet + 'x'));
}

TEST(WebCall, HasAKindThatThereIs) {
  std::string packet = encode(full_call());
  packet[0] = static_cast<char>(Call::Kind::sign_out_everywhere);
  EXPECT_TRUE(decode_call(packet));
  ++packet[0];
  EXPECT_FALSE(decode_call(packet));
}

TEST(WebAnswer, ComesAsItWasSent) {
  const Http::Response sent = {204, {{"etag", "\"7\""}, {"x-2", ""}}, std::string("a\0b", 3)};
  const auto response = decode_response(encode(sent));
  ASSERT_TRUE(response);
  EXPECT_EQ(204, response->status);
  EXPECT_EQ(sent.headers, response->headers);
  EXPECT_EQ(sent.body, response->body);
}

TEST(WebAnswer, IsWholeOrNone) {
  const std::string packet = encode(Http::Response{200, {{"etag", "1"}}, "body"});
  for (std::size_t size = 0; size < packet.size(); ++size)
    EXPECT_FALSE(decode_response(packet.substr(0, size))) << size;
  EXPECT_FALSE(decode_response(packet + 'x'));
}

TEST(WebAnswer, HasAFinalStatus) {
  for (const int status : {200, 404, 599})
    EXPECT_TRUE(decode_response(encode(Http::Response{status, {}, ""}))) << status;
  for (const int status : {-1, 0, 100, 199, 600, 1000})
    EXPECT_FALSE(decode_response(encode(Http::Response{status, {}, ""}))) << status;
}

TEST(WebAnswer, HasHeadersThatStayOneLine) {
  const Http::Headers::value_type wrong[] = {
      {"", "x"},       {"set-cookie\r\nx", "x"},      {"a b", "x"},
      {"a:", "x"},     {"content-length", "1"},       {"etag", "1\r\nset-cookie: a=b"},
      {"etag", "1\n"}, {"etag", std::string("\0", 1)}};
  for (const auto& header : wrong)
    EXPECT_FALSE(decode_response(encode(Http::Response{200, {header}, ""})))
        << header.first << ": " << header.second;
}

}  // namespace
}  // namespace Quarrow::WebServer
