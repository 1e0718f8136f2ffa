// Which texts are addresses.
#include <gtest/gtest.h>

#include "zvellparser.h"

namespace {

TEST(EmailAddress, IsNullWhenDefaultMade) {
  EXPECT_TRUE(EmailAddress().isNull());
  EXPECT_EQ("", EmailAddress().address());
}

const std::string addresses[] = {
    "user@example.org",
    "User+tag@Example.ORG",
    "user@localhost",
    "user@[192.0.2.1]",
    "user@[IPv6:2001:db8::1]",
    "\"a b@c\"@example.org",
    R"("a\"b"@example.org)",
    "m\xc3\xbcller@b\xc3\xbc.example",
    std::string(64, 'a') + "@" + std::string(255, 'b'),
};

TEST(EmailAddress, KeepsAnAddressAsWritten) {
  for (const std::string& text : addresses) {
    EXPECT_FALSE(EmailAddress(text).isNull()) << text;
    EXPECT_EQ(text, EmailAddress(text).address());
  }
}

const std::string other_texts[] = {
    "",
    "user",
    "@",
    "user@",
    "@example.org",
    "a@b@c",
    "a b@example.org",
    "user@exa mple.org",
    "Name <user@example.org>",
    "a@example.org, b@example.org",
    "user@example.org\n",
    std::string("us\0er@example.org", 17),
    ("us\x7f"
     "er@example.org"),
    "\"\"@example.org",
    "\"a\"b\"@example.org",
    R"("a\"@example.org)",
    std::string(65, 'a') + "@example.org",
    "user@" + std::string(256, 'b'),
};

TEST(EmailAddress, IsNullForOtherTexts) {
  for (const std::string& text : other_texts) EXPECT_TRUE(EmailAddress(text).isNull()) << text;
}

TEST(EmailAddress, CanBeCopiedAndAssigned) {
  EmailAddress address;
  address = EmailAddress("user@example.org");
  EXPECT_EQ("user@example.org", EmailAddress(address).address());
}

}  // namespace
