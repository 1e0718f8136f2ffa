// Encoded words: which are usual ones, and what they stand for.
#include "host/zvellparser/encoded_words.h"

#include <gtest/gtest.h>

#include <string>

using namespace zvellparser;

namespace {

const char* const unusual[] = {
    "",
    "a",
    "=?",
    "=?utf-8",
    "=?utf-8?",
    "=?utf-8?q",
    "=?utf-8?q?",
    "=?utf-8?q?a",
    "=?utf-8?q?a?",
    "=?utf-8?q?a?b?=",
    "=?utf-8?qq?a?=",
    "=?utf-8?x?a?=",
    "=?utf-8?q?a b?=",
    "=?utf-8?q?\xc3\xa4?=",
    "=?utf-8?q?=C3=A?=",
    "=?utf-8?q?=?=",
    "=?utf-8?q?=0x?=",
    "=?utf-8?b?YQ?=",
    "=?utf-8?b?Y===?=",
    "=?utf-8?b?YQ=a?=",
    "=?utf-8?b?Y-==?=",
    "=?utf-8*en?q?a?=",
    "=?koi8-r?q?a?=",
};

TEST(UsualWord, IsOneThatMailProgramsWrite) {
  for (const char* const text : unusual) EXPECT_FALSE(usual_word(text)) << text;
  const auto word = usual_word("=?ISO-8859-1?B?YQ==?= x");
  ASSERT_TRUE(word);
  EXPECT_EQ("ISO-8859-1", word->charset);
  EXPECT_STREQ("ISO-8859-1", word->converter);
  EXPECT_TRUE(word->is_base64);
  EXPECT_EQ("YQ==", word->content);
  EXPECT_EQ(std::string("=?ISO-8859-1?B?YQ==?=").size(), word->length);
  const auto other = usual_word("=?utf-8?q?a=c3=A4_?=");
  ASSERT_TRUE(other);
  EXPECT_EQ(nullptr, other->converter);
  EXPECT_FALSE(other->is_base64);
}

TEST(UsualWordsText, IsInUtf8) {
  const struct {
    const char* words;
    const char* want;
  } cases[] = {
      {"=?utf-8?q?J=C3=b6rg_D=2E?=", "J\xc3\xb6rg D."},
      {"=?UTF-8?b?SsO2cmc=?=", "J\xc3\xb6rg"},
      {"=?iso-8859-1?Q?J=F6rg?= \r\n =?utf-8?B?IQ==?=", "J\xc3\xb6rg!"},
      {"=?ISO-8859-15?q?=A4?=", "\xe2\x82\xac"},
      {"=?windows-1252?q?=80=81?=", "\xe2\x82\xac?"},
      {"=?utf-8?q?=E2=82?= =?utf-8?q?=AC?=", "\xe2\x82\xac"},  // one character in two words
      {"=?utf-8?q?=E2=82?= =?utf-8?b?rA==?=", "???"},
      {"=?utf-8?q?a=FFb=ED=A0=80?=", "a?b???"},
      {"=?utf-8?q?a=00b?=", "a?b"},
  };
  for (const auto& c : cases) {
    const auto read = usual_words_text(c.words);
    ASSERT_TRUE(read) << c.words;
    EXPECT_EQ(c.want, read->text) << c.words;
    EXPECT_FALSE(read->ends_a_value) << c.words;
  }
}

TEST(UsualWordsText, EndsWithANulOfAnotherCharset) {
  const auto read = usual_words_text("=?iso-8859-1?q?a=00b?= =?utf-8?q?c?=");
  ASSERT_TRUE(read);
  EXPECT_EQ("a", read->text);
  EXPECT_TRUE(read->ends_a_value);
}

TEST(UsualWordsText, IsNotKnownWhereOneOfThemIsUnusual) {
  EXPECT_FALSE(usual_words_text("=?utf-8?q?a?= =?koi8-r?q?b?="));
  EXPECT_FALSE(usual_words_text("=?koi8-r?q?b?= =?utf-8?q?a?="));
}

}  // namespace
