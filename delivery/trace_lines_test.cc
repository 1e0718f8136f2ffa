// Headers of messages that loop, and of others.
#include "delivery/trace_lines.h"

#include <gtest/gtest.h>

namespace Quarrow::Delivery {
namespace {

const std::string recipient = "alice@example.org";
const std::string to_alice = "Delivered-To: alice@example.org\n";
const std::string received = "Received: from a\n\tby b\n";

TEST(TraceLines, ShowALoopWhereTheRecipientHadTheMessageBefore) {
  const struct {
    std::string message;
    bool want;
  } cases[] = {
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
      {"no field\n" + to_alice + "\n", false},  // the body has begun
  };
  for (const auto& c : cases)
    EXPECT_EQ(c.want, trace_lines(c.message, recipient).are_of_a_loop()) << c.message;
}

TEST(TraceLines, AreThoseOfTheLastServerAboveTheTopmostReceived) {
  const std::string path = "Return-Path: <bob@example.net>\n";
  EXPECT_TRUE(trace_lines(path + received + "\n", recipient).return_path_above);
  EXPECT_FALSE(trace_lines(received + path + "\n", recipient).return_path_above);
  EXPECT_TRUE(trace_lines(to_alice + received + "\n", recipient).delivered_above);
  EXPECT_FALSE(trace_lines(received + to_alice + "\n", recipient).delivered_above);
  EXPECT_FALSE(trace_lines(path + to_alice + "\n", recipient).received);
}

TEST(TraceLines, AreTrimmed) {
  EXPECT_EQ("a b", trimmed(" \t\r\na b\r\n \t"));
  EXPECT_EQ("", trimmed(" \n"));
  EXPECT_EQ("", trimmed(""));
}

}  // namespace
}  // namespace Quarrow::Delivery
