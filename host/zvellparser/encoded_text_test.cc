// Header text to UTF-8: encoded words, raw 8-bit text, and what is broken.
#include <gtest/gtest.h>

#include <thread>

#include "zvellparser.h"

namespace {

struct TextCase {
  std::string text;
  std::string want;
};

std::string decode(const std::string& text, const ZVLStaticCharSetFallbacks* fallbacks = nullptr) {
  const Buffer result = stringToUtf8(text, fallbacks);
  EXPECT_EQ('\0', result.data()[result.size()]);
  return {result.data(), result.size()};
}

void expect_decoded(const std::vector<TextCase>& cases) {
  for (const TextCase& c : cases) EXPECT_EQ(c.want, decode(c.text)) << c.text;
}

const std::string plain_texts[] = {"",
                                   "plain",
                                   "a  b\tc ",
                                   "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80",
                                   "a =? b",
                                   "1 = 2?",
                                   "name@example.org (=comment?=)",
                                   "\"quoted\" <user@example.org>"};

TEST(EncodedText, LeavesPlainTextAlone) {
  for (const std::string& text : plain_texts) EXPECT_EQ(text, decode(text));
}

TEST(EncodedText, DecodesWordsOfManyCharsets) {
  expect_decoded({
      {"=?utf-8?Q?caf=C3=A9?=", "caf\xc3\xa9"},
      {"=?UTF-8?b?Y2Fmw6k=?= au lait", "caf\xc3\xa9 au lait"},
      {"=?iso-8859-1?Q?caf=E9_x?=", "caf\xc3\xa9 x"},
      {"=?windows-1252?Q?=93a=94?=",
       "\xe2\x80\x9c"
       "a\xe2\x80\x9d"},
      {"=?koi8-r?B?8NLJ18XU?=", "\xd0\x9f\xd1\x80\xd0\xb8\xd0\xb2\xd0\xb5\xd1\x82"},
      {"=?iso-2022-jp?B?GyRCRnxLXBsoQg==?=", "\xe6\x97\xa5\xe6\x9c\xac"},
      {"=?gb2312?B?1tDOxA==?=", "\xe4\xb8\xad\xe6\x96\x87"},
      {"=?utf-8*en?Q?a?=", "a"},  // RFC 2231, section 5
  });
}

TEST(EncodedText, JoinsAdjacentWords) {
  expect_decoded({
      {"=?utf-8?Q?a?= =?utf-8?Q?b?=", "ab"},
      {"=?utf-8?Q?a?= \t =?iso-8859-1?Q?b?= c", "ab c"},
      {"=?utf-8?Q?=E2=82?= =?utf-8?Q?=AC?=", "\xe2\x82\xac"},  // a character over two words
      {"=?utf-8?Q?a?= b =?utf-8?Q?c?=", "a b c"},
      {"=?utf-8?B?YQ==?= =?utf-8?B?YmM=?= =?utf-8?B?ZGVm?=", "abcdef"},  // each padded
      {"=?koi8-r?B?8NI=?= =?koi8-r?B?yQ==?=\r\n =?koi8-r?B?18XU?= a",
       "\xd0\x9f\xd1\x80\xd0\xb8\xd0\xb2\xd0\xb5\xd1\x82 a"},
  });
}

TEST(EncodedText, KeepsWhatCanBeRead) {
  expect_decoded({
      {"=?utf-8?B?Y2Fmw6?= x", "caf x"},     // base64 that stops in a character
      {"=?utf-8?B?Y2Fm", "=?utf-8?B?Y2Fm"},  // no end
      {"=?utf-8?X?a?=", "=?utf-8?X?a?="},    // no such encoding
      {"=?no-such-charset?Q?plain_text?=", "plain text"},
      {"=?utf-8?Q?a=00b?= tail", "a?b tail"},
      {"=?utf-8?Q?bad=FFbyte?=", "bad?byte"},
      {"=?utf-8?Q?"
       "?= b",
       " b"},
  });
}

TEST(EncodedText, TakesRawTextAsWindows1252) {
  expect_decoded({
      {"caf\xe9 \x93q\x94", "caf\xc3\xa9 \xe2\x80\x9cq\xe2\x80\x9d"},
      {"caf\xe9 =?utf-8?Q?=C3=A9?=", "caf\xc3\xa9 \xc3\xa9"},
      {"caf\xc3\xa9 =?utf-8?Q?=C3=A9?=", "caf\xc3\xa9 \xc3\xa9"},
  });
}

TEST(EncodedText, PrefersTheFallbacks) {
  ZVLStaticCharSetFallbacks fallbacks;
  fallbacks.charsets = {"koi8-r"};
  EXPECT_EQ("\xd0\x9f", decode("\xf0", &fallbacks));
  EXPECT_EQ("\xc3\xa9", decode("\xc3\xa9", &fallbacks));
  fallbacks.charsets = {"no-such-charset"};
  EXPECT_EQ("caf\xc3\xa9", decode("caf\xe9", &fallbacks));
}

TEST(EncodedText, LeavesNulsOut) {
  EXPECT_EQ("ab", decode(std::string("a\0b", 3)));
  EXPECT_EQ("ab", decode(std::string("=?utf-8?Q?a\0b?=", 15)));
}

TEST(EncodedText, LeavesItsOwnResultAlone) {
  for (const char* text : {"caf\xe9", "=?koi8-r?B?8NLJ18XU?=", "=?utf-8?Q?bad=FF?=", "\xed\xa0"}) {
    const std::string once = decode(text);
    EXPECT_EQ(once, decode(once)) << text;
  }
}

TEST(EncodedText, IsDecodedByManyThreads) {
  std::vector<std::string> results(4);
  std::vector<std::thread> threads;
  for (std::string& result : results) {
    threads.emplace_back([&result] {
      for (int i = 0; i < 500; ++i) result = decode("=?koi8-r?Q?=F0?= =?no-such?Q?a?= \xe9");
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& result : results)
    EXPECT_EQ(
        "\xd0\x9f"
        "a \xc3\xa9",
        result);
}

TEST(EncodedText, IsAnyLength) {
  std::string words;
  std::string want;
  for (int i = 0; i < 20000; ++i) {
    words += "=?utf-8?Q?a?= ";
    want += 'a';
  }
  EXPECT_EQ(want + " ", decode(words));
}

TEST(EncodedText, IsCutBetweenCharacters) {
  EXPECT_EQ(std::string(65536, 'a'), decode(std::string(65537, 'a')));
  const std::string with_character = std::string(65535, 'a') + "\xc3\xa4";
  EXPECT_EQ(std::string(65535, 'a'), decode(with_character));
  EXPECT_EQ(with_character.substr(1), decode(with_character.substr(1)));
  const std::string three_bytes = decode(std::string(70000, '\x80'));  // the euro of windows-1252
  EXPECT_EQ(65535U, three_bytes.size());
  EXPECT_EQ("\xe2\x82\xac", three_bytes.substr(65532));
}

TEST(EncodedText, IsUtf8StillWhenAVeryLongValueIsCut) {
  std::string character_at_the_bound(524287, ' ');
  character_at_the_bound = "\xc3\xb6" + character_at_the_bound.substr(2) + "\xc3\xa4";
  EXPECT_EQ("\xc3\xb6 ", decode(character_at_the_bound).substr(0, 3));
}

}  // namespace
