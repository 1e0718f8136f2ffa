// Messages, and their headers as a caller asks for them.
#include <gtest/gtest.h>

#include "zvellparser.h"

namespace {

std::unique_ptr<MimePart> parse(const std::string& message) {
  return MimePart::parse(message.data(), message.size());
}

// The value of a header; "(null)" when there is none.
std::string value(const std::string& message, const std::string& name) {
  const Header header = parse(message)->headers().find(name);
  return header.isNull() ? "(null)" : header.value();
}

TEST(Headers, AreFoundRegardlessOfCase) {
  const std::string message = "Subject: a\r\nX-Other: b\r\n\r\nbody";
  for (const char* name : {"Subject", "subject", "SUBJECT"}) EXPECT_EQ("a", value(message, name));
  EXPECT_EQ("b", value(message, "x-OTHER"));
}

TEST(Headers, AreFoundByTheirWholeName) {
  const std::string message = "X-Subject: a\nSubjects: b\nSub: c\nX: y:z\n\n";
  for (const char* name : {"Subject", "", "X:", "X: y", "a", "\n"})
    EXPECT_EQ("(null)", value(message, name)) << name;
  EXPECT_EQ("y:z", value(message, "x"));
}

TEST(Headers, KnowAsciiLettersOnly) {
  EXPECT_EQ("(null)", value("A[: 1\n\n", "a{"));  // apart like "A" and "a", but no letters
  EXPECT_EQ("1", value("A[: 1\n\n", "a["));
}

TEST(Headers, GiveTheFirstOfAName) { EXPECT_EQ("1", value("A: 1\na: 2\nA: 3\n\n", "A")); }

TEST(Headers, AreNotNullWhenEmpty) {
  EXPECT_EQ("", value("Subject:\nA: 1\n\n", "Subject"));
  EXPECT_EQ("", value("Subject: \t\r\n\r\n", "Subject"));
}

TEST(Headers, AreRaw) {
  EXPECT_EQ("=?utf-8?Q?a?= b\xe9", value("Subject: =?utf-8?Q?a?=\r\n b\xe9\r\n\r\n", "Subject"));
}

TEST(Headers, OfAddressesAreLeftAloneWhenTheyCanBeRead) {
  EXPECT_EQ("Name <a@example.org>, b@example.org",
            value("To: Name <a@example.org>,\n\tb@example.org\n\n", "to"));
}

TEST(Headers, OfAddressesAreMadeReadable) {
  EXPECT_EQ("a..b@example.org", value("X-To: a..b@example.org\n\n", "X-To"));
  const std::string readable = value("To: <a@example.org>, <b>,\n\n", "To");
  EXPECT_NE(std::string::npos, readable.find("a@example.org")) << readable;
  EXPECT_EQ(std::string::npos, readable.find("<b>")) << readable;
}

TEST(Message, IsNeverNull) {
  for (const char* text : {"", "\n", "\r\n", "body only", "\nbody", "\n\nA: 1\n"}) {
    const std::unique_ptr<MimePart> message = parse(text);
    ASSERT_NE(nullptr, message) << text;
    EXPECT_TRUE(message->headers().find("A").isNull()) << text;
  }
  EXPECT_NE(nullptr, MimePart::parse(nullptr, 0));
}

TEST(Message, MayBeHeadersAlone) { EXPECT_EQ("1", value("A: 1", "A")); }

TEST(Message, HasNoHeadersInItsBody) {
  const std::string body = "Subject: inner\n" + std::string(20 << 20, 'x');
  EXPECT_EQ("(null)", value("A: 1\n\n" + body, "Subject"));
  EXPECT_EQ("1", value("A: 1\r\n\r\n" + body, "A"));
}

TEST(Message, OutlivesItsText) {
  std::string text = "A: 1\n\n";
  const std::unique_ptr<MimePart> message = parse(text);
  text.assign(text.size(), 'x');
  EXPECT_EQ("1", message->headers().find("A").value());
}

TEST(TypeAndValue, IsNullUntilItHasAValue) {
  EXPECT_TRUE(TypeAndValue().isNull());
  EXPECT_FALSE(TypeAndValue("").isNull());
  EXPECT_EQ("a", TypeAndValue("a").value());
}

TEST(Buffer, GrowsAndEndsInANul) {
  Buffer buffer;
  EXPECT_STREQ("", buffer.data());
  buffer.append("a\0b", 3);
  buffer.append("c", 1);
  EXPECT_EQ(4U, buffer.size());
  EXPECT_EQ(std::string("a\0bc", 4), std::string(buffer.data(), buffer.size() + 1).substr(0, 4));
  EXPECT_EQ('\0', buffer.data()[4]);
}

}  // namespace
