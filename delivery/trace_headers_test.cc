// Return-Path, Delivered-To, and loops seen through them.
#include "delivery/trace_headers.h"

#include <gtest/gtest.h>

namespace Quarrow::Delivery {
namespace {

const std::string to_alice = "Delivered-To: alice@example.org\n";

Trace trace_to_alice(const std::string& message) {
  return trace_of(message, {"bob@example.net", "alice@example.org"});
}

TEST(AddedHeaders, NameSenderAndRecipient) {
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
    const Trace trace = trace_of("Subject: x\n\nbody\n", {c.sender, c.recipient});
    EXPECT_EQ(c.want, trace.added_headers);
    EXPECT_FALSE(trace.loop);
  }
}

TEST(AddedHeaders, AreNotAddedWhereTheServerHasPutThem) {
  const std::string received = "Received: from a\n\tby b\n";
  const std::string path = "Return-Path: <bob@example.net>\n";
  EXPECT_EQ("", trace_to_alice(path + to_alice + received + "\n").added_headers);
  EXPECT_EQ(path, trace_to_alice(to_alice + received + "\n").added_headers);
  EXPECT_EQ(to_alice, trace_to_alice(path + received + "\n").added_headers);
  EXPECT_EQ(path + to_alice, trace_to_alice(received + path + "\n").added_headers);
  EXPECT_EQ(path + to_alice, trace_to_alice(path + "\n").added_headers);
}

TEST(Loop, IsAMessageThatWasGivenTheseLinesBefore) {
  for (const std::string& recipient :
       {std::string("alice@example.org"), std::string("a\nb"), std::string(2000, 'x')}) {
    const Trace first = trace_of("Subject: x\n\n", {"", recipient});
    EXPECT_TRUE(trace_of(first.added_headers + "\n", {"", recipient}).loop);
  }
}

}  // namespace
}  // namespace Quarrow::Delivery
