// Return-Path, Delivered-To and Received, and loops seen through them.
#include "delivery/trace_headers.h"

#include <gtest/gtest.h>

namespace Quarrow::Delivery {
namespace {

const std::string alice = "alice@example.org";
const std::string to_alice = "Delivered-To: alice@example.org\n";
const std::string path = "Return-Path: <bob@example.net>\n";
const std::string received = "Received: from a\n\tby b\n";

TraceHeaders handed_over_to_alice(const std::string& message) {
  return trace_headers(message, {"bob@example.net", alice});
}

const struct {
  std::string message;
  bool want;
} loops[] = {
    {to_alice + "\n", true},
    {to_alice, true},
    {"Subject: x\n" + to_alice + "\nbody", true},
    {received + to_alice + received + "\n", true},
    {"DELIVERED-TO:\n  Alice@Example.ORG \r\n\r\n", true},
    {"Delivered-To : alice@example.org\n\n", true},
    {to_alice + received + to_alice + received + "\n", true},
    {to_alice + received + "\n", false},  // by the server that hands it over
    {"", false},
    {"\n" + to_alice, false},
    {"Subject: x\n\n" + to_alice, false},
    {"Subject: x\n " + to_alice + "\n", false},
    {"Delivered-To: malice@example.org\nDelivered-To: alice@example.org.example.net\n\n", false},
    {"Delivered-To:\n\n", false},
    {"X-Delivered-To: alice@example.org\n\n", false},
    {"Deliverer-To: alice@example.org\n\n", false},
    {"no field\n" + to_alice + "\n", false},  // the body has begun
};

TEST(FoundTrace, ShowsALoopWhereTheRecipientHadTheMessageBefore) {
  for (const auto& c : loops)
    EXPECT_EQ(c.want, find_trace(c.message, alice).is_loop()) << c.message;
}

TEST(FoundTrace, TellsTheLinesAboveTheTopmostReceivedFromThoseBelow) {
  EXPECT_TRUE(find_trace(path + received + "\n", alice).return_path_above);
  EXPECT_FALSE(find_trace(received + path + "\n", alice).return_path_above);
  EXPECT_TRUE(find_trace(to_alice + received + "\n", alice).delivered_above);
  EXPECT_FALSE(find_trace(received + to_alice + "\n", alice).delivered_above);
  EXPECT_FALSE(find_trace(path + to_alice + "\n", alice).received);
}

TEST(Trimmed, LeavesOutBlanksAndLineEnds) {
  EXPECT_EQ("a b", trimmed(" \t\r\na b\r\n \t"));
  EXPECT_EQ("", trimmed(" \n"));
  EXPECT_EQ("", trimmed(""));
}

TEST(HeadersOfAMessageHandedOver, NameSenderAndRecipient) {
  const struct {
    std::optional<std::string> sender;
    std::string recipient;
    std::string want;
  } cases[] = {
      {"bob@example.net", "alice@example.org", "Return-Path: <bob@example.net>\n" + to_alice},
      {"", "alice@example.org", "Return-Path: <>\n" + to_alice},
      {std::nullopt, "alice@example.org", to_alice},
      {std::nullopt, " alice@example.org\n", to_alice},
      {"a\nBcc: b", "c\r\nd\te", "Return-Path: <a?Bcc: b>\nDelivered-To: c??d?e\n"},
      {std::nullopt, std::string(2000, 'x'), "Delivered-To: " + std::string(900, 'x') + '\n'}};
  for (const auto& c : cases) {
    const TraceHeaders headers = trace_headers("Subject: x\n\nbody\n", {c.sender, c.recipient});
    EXPECT_EQ(c.want, headers.lines);
    EXPECT_FALSE(headers.is_loop);
  }
}

TEST(HeadersOfAMessageHandedOver, AreNotAddedWhereTheServerHasPutThem) {
  EXPECT_EQ("", handed_over_to_alice(path + to_alice + received + "\n").lines);
  EXPECT_EQ(path, handed_over_to_alice(to_alice + received + "\n").lines);
  EXPECT_EQ(to_alice, handed_over_to_alice(path + received + "\n").lines);
  EXPECT_EQ(path + to_alice, handed_over_to_alice(received + path + "\n").lines);
  EXPECT_EQ(path + to_alice, handed_over_to_alice(path + "\n").lines);
}

TEST(HeadersOfAMessageHandedOver, HaveTheLineEndsOfTheMessage) {
  EXPECT_EQ("Return-Path: <bob@example.net>\r\nDelivered-To: alice@example.org\r\n",
            handed_over_to_alice("Subject: x\r\n\r\nbody\n").lines);
  for (const char* message : {"Subject: x\n\r\nbody\r\n", "Subject: x", "", "\nbody\r\n"})
    EXPECT_EQ(path + to_alice, handed_over_to_alice(message).lines) << message;
  EXPECT_TRUE(
      handed_over_to_alice(handed_over_to_alice("Subject: x\r\n\r\n").lines + "Subject: x\r\n\r\n")
          .is_loop);
}

TEST(HeadersOfAMessageHandedOver, AreFoundInAStoredMessageOfOurs) {
  for (const std::string message : {"Subject: x\n\nbody\n", "Subject: x\r\n\r\nbody\r\n", ""}) {
    for (const auto& sender : {std::optional<std::string>("bob@example.net"),
                               std::optional<std::string>(""), std::optional<std::string>()}) {
      const std::string lines = trace_headers(message, {sender, alice}).lines;
      EXPECT_EQ(lines.size(), added_headers_size(lines + message, true));
      EXPECT_EQ(0U, added_headers_size(lines + message, false));
    }
  }
}

const std::string unlike_ours[] = {"",
                                   "Subject: x\n\n",
                                   "Subject: x\n" + to_alice,
                                   "return-path: <bob@example.net>\nSubject: x\n\n",
                                   " folded: " + path,
                                   "\n" + path + to_alice,
                                   received + path + to_alice};

TEST(HeadersOfAMessageHandedOver, AreNotFoundWhereTheyAreNot) {
  for (const auto& message : unlike_ours)
    EXPECT_EQ(0U, added_headers_size(message, true)) << message;
}

TEST(HeadersOfAMessageHandedOver, ShowALoopWhenTheMessageComesAgain) {
  for (const std::string& recipient :
       {std::string("alice@example.org"), std::string("a\nb"), std::string(2000, 'x')}) {
    const TraceHeaders first = trace_headers("Subject: x\n\n", {"", recipient});
    EXPECT_TRUE(trace_headers(first.lines + "\n", {"", recipient}).is_loop);
  }
}

class HeadersOfAMessageReceived : public testing::Test {
 protected:
  HeadersOfAMessageReceived() {
    setenv("TZ", "UTC", 1);
    tzset();
  }
  ~HeadersOfAMessageReceived() override {
    unsetenv("TZ");
    tzset();
  }

  // 4 May 2026, 12:00:00 UTC.
  static Reception from(const std::string& client) {
    return {client, "mx.example.org", "LMTP", 1777896000};
  }
  static std::string received_from(const std::string& client) {
    return "Received: from " + client +
           "\n\tby mx.example.org with LMTP\n\tfor <alice@example.org>; "
           "Mon, 04 May 2026 12:00:00 +0000\n";
  }
};

TEST_F(HeadersOfAMessageReceived, NameTheClientTheHostAndTheTime) {
  const TraceHeaders headers =
      trace_headers("Subject: x\n\n", {"bob@example.net", alice}, from("client.example.net"));
  EXPECT_EQ(path + to_alice + received_from("client.example.net"), headers.lines);
  EXPECT_FALSE(headers.is_loop);
}

TEST_F(HeadersOfAMessageReceived, NameNoSenderWhoIsNotKnown) {
  const std::string lines =
      trace_headers("Subject: x\n\n", {std::nullopt, alice}, from("client")).lines;
  EXPECT_EQ(0U, lines.find(to_alice + "Received: from client\n")) << lines;
}

TEST_F(HeadersOfAMessageReceived, NameAClientOnlyWhereItsNameMeansNothingElse) {
  for (const std::string client : {"mx-1_a.example.net", "[192.0.2.1]", "[IPv6:2001:db8::1]", ""})
    EXPECT_EQ(path + to_alice + received_from(client),
              trace_headers("\n", {"bob@example.net", alice}, from(client)).lines);
  for (const std::string client : {"client (x)", "a b", "a;b", "m\xc3\xbcller", "a\nBcc: b"})
    EXPECT_EQ(path + to_alice + received_from("unknown"),
              trace_headers("\n", {"bob@example.net", alice}, from(client)).lines);
}

TEST_F(HeadersOfAMessageReceived, AreAddedWhateverTheMessageBringsAlong) {
  const TraceHeaders headers =
      trace_headers(path + to_alice + received + "\n", {"bob@example.net", alice}, from("client"));
  EXPECT_EQ(path + to_alice + received_from("client"), headers.lines);
}

TEST_F(HeadersOfAMessageReceived, KeepLongAddressesAndLetNoneBeginALine) {
  const std::string sender(2000, 'x');
  const std::string lines = trace_headers("\n", {sender, "a\nb"}, from("client")).lines;
  EXPECT_EQ("Return-Path: <" + sender + ">\nDelivered-To: a?b\n",
            lines.substr(0, lines.find("Received")));
}

TEST_F(HeadersOfAMessageReceived, AreFoundInAStoredMessage) {
  for (const std::string message : {"Subject: x\n\n", "Subject: x\r\n\r\n", "\nbody\n"}) {
    for (const char* client : {"client.example.net", "a b"}) {
      const std::string lines = trace_headers(message, {"", alice}, from(client)).lines;
      for (const bool is_ours : {false, true})
        EXPECT_EQ(lines.size(), added_headers_size(lines + message, is_ours)) << lines;
    }
  }
}

TEST_F(HeadersOfAMessageReceived, AreNoneOfAnotherServer) {
  for (const std::string& message :
       {path + to_alice + received, to_alice + path + received_from("client"),
        path + "Delivered-To: bob@example.org\n" + received_from("client"),
        path + to_alice +
            "Received: from client\n\tby mx.example.org with LMTP\n\tid 7\n\tfor "
            "<alice@example.org>; Mon, 04 May 2026 12:00:00 +0000\n",
        path + to_alice + "Received: by mx.example.org with LMTP\n\tfor " + alice + "\n",
        path + to_alice + "Received: from client\n\tmx.example.org with LMTP\n",
        path + to_alice + "Received: from client\n\tby a\n",
        path + to_alice + "Received: from client\n\tby mx.example.org with ESMTP\n",
        path + received_from("client"), received_from("client")})
    EXPECT_EQ(0U, added_headers_size(message + "\n", false)) << message;
}

TEST_F(HeadersOfAMessageReceived, ShowALoopWhenTheMessageComesAgain) {
  const TraceHeaders first = trace_headers("Subject: x\n\n", {"", alice}, from("client"));
  const std::string again = "Received: from elsewhere\n" + first.lines + "\n";
  EXPECT_TRUE(trace_headers(again, {"", alice}, from("client")).is_loop);
}

}  // namespace
}  // namespace Quarrow::Delivery
