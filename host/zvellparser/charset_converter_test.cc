// UTF-8 to other charsets, mailbox names above all.
#include <gtest/gtest.h>

#include "zvellparser.h"

namespace {

std::string convert(const char* charset, const std::string& text, std::size_t limit = 1024) {
  const Buffer result = ZvellConv::fromUtf8(charset, text.data(), text.size(), limit);
  EXPECT_EQ('\0', result.data()[result.size()]);
  return {result.data(), result.size()};
}

const struct {
  std::string folder;
  std::string want;
} folders[] = {
    {"", ""},
    {"Inbox", "Inbox"},
    {"R&D", "R&-D"},
    {"~peter \\ \"x\"", "~peter \\ \"x\""},
    {"\xe5\x8f\xb0\xe5\x8c\x97", "&U,BTFw-"},                // RFC 3501, section 5.1.3
    {"\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e", "&ZeVnLIqe-"},  // the same
    {"Entw\xc3\xbcrfe", "Entw&APw-rfe"},
    {"\xf0\x9f\x98\x80", "&2D3eAA-"},     // two surrogates
    {std::string("a\0b", 3), "a&AAA-b"},  // the result stays one C text
    {"\t", "&AAk-"},
};

TEST(MailboxName, IsModifiedUtf7) {
  for (const auto& c : folders) EXPECT_EQ(c.want, convert("IMAP-mailbox-name", c.folder));
}

TEST(MailboxName, TakesBadBytesAsReplacementCharacters) {
  EXPECT_EQ("a&,,0-b", convert("IMAP-mailbox-name",
                               "a\xff"
                               "b"));
  EXPECT_EQ("a&,,0-", convert("IMAP-mailbox-name", "a\xc3"));
}

TEST(Conversion, StopsAtTheLimit) {
  EXPECT_EQ(std::string(1024, 'a'), convert("IMAP-mailbox-name", std::string(2000, 'a')));
  EXPECT_EQ("abc", convert("utf-8", "abc", 3));
  EXPECT_EQ("ab", convert("utf-8", "abc", 2));
  EXPECT_EQ("", convert("utf-8", "abc", 0));
}

TEST(Conversion, CutsNoCharacterInTwo) {
  const std::string euros = "\xe2\x82\xac\xe2\x82\xac";
  const std::string euro = euros.substr(0, 3);
  const std::string want[] = {"", "", "", euro, euro, euro, euros};
  for (std::size_t limit = 0; limit <= euros.size(); ++limit)
    EXPECT_EQ(want[limit], convert("utf-8", euros, limit)) << limit;
}

TEST(Conversion, KnowsOtherCharsets) {
  EXPECT_EQ("caf\xe9", convert("iso-8859-1", "caf\xc3\xa9"));
  EXPECT_EQ("\xf0", convert("koi8-r", "\xd0\x9f"));
}

TEST(Conversion, GivesNothingForAnUnknownCharset) {
  EXPECT_EQ("", convert("no-such-charset", "abc"));
  EXPECT_EQ("", convert("", "abc"));
  EXPECT_EQ("", convert(nullptr, "abc"));
}

}  // namespace
