// Headers and the charsets that they need.
#include "delivery/charset_preloading.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <zvellparser.h>

#include <string>

namespace Quarrow::Delivery {
namespace {

using Names = std::vector<std::string>;

std::string words(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += "=?utf-8?q?a?= ";
  return text;
}

struct HeaderCase {
  std::string header;
  Names want;
};

// Headers whose words tell which charsets they need.
const HeaderCase told[] = {
    {"Subject: =?utf-8*fr?q?caf=C3=A9?=\n", {"ISO-8859-1", "CP1252", "UTF-8"}},
    {"Subject: =?utf-8?q?a b?=\n", {"ISO-8859-1", "CP1252", "UTF-8"}},
    {"Subject: =?ISO-8859-1?q?J=E?=\n", {"ISO-8859-1", "CP1252"}},
    {"Subject: =?Windows-1251?q?=EF?=\n", {"ISO-8859-1", "CP1252", "CP1251"}},
    {"Subject: =?gb2312?B?xOO6ww==?=\n", {"ISO-8859-1", "CP1252", "GBK"}},
    {"Subject: =?koi8-r*ru?q?=D0?=\n", {"ISO-8859-1", "CP1252", "KOI8-R"}},
    {"From: =?koi8-r?q?=D0?= <a@b>\nTo: =?big5?q?x?=, =?KOI8-R?b?0NI=?=\n",
     {"ISO-8859-1", "CP1252", "KOI8-R", "BIG5"}},
    {"Subject: =?utf-8?q?a?=?koi8-r?q?b?=\n", {"ISO-8859-1", "CP1252", "KOI8-R"}},
    {"Subject: =?iso-8859-15?q?=A4?= =?koi8-r?q?=D0?=\n",
     {"ISO-8859-15", "ISO-8859-1", "CP1252", "KOI8-R"}},
};

// Headers without words, or with words that need no decoder.
const HeaderCase usual[] = {
    {"", {}},
    {"Subject: an offer = 3?\n", {}},
    {"Subject: =?utf-8?q?caf=C3=A9?=\n", {}},
    {"Subject: =?UTF-8?B?Y2Fmw6k=?=\n =?utf-8?q?x?=\n", {}},
    {"Subject: =?ISO-8859-1?q?J=E4?=\n", {"ISO-8859-1"}},
    {"Subject: =?windows-1252?q?=80?= =?iso-8859-15?q?=A4?=\n", {"CP1252", "ISO-8859-15"}},
    {words(most_encoded_words), {}},
};

// Headers that may need any charset.
const std::string not_told[] = {
    "Subject: =?x-none?q?=E1?=\n",
    "Subject: =??q?=E1?=\n",
    "Subject: =?windows-?q?=E1?=\n",
    "Subject: =?utf-8?q?a?= =?x-none?q?=E1?=\n",
    "Subject: raw \xe4 =?utf-8?q?a?=\n",
    std::string("Subject: raw \xe4 =\0?koi8-r?q?=D0=D2?=\n", 36),
    std::string("Subject: =\0?koi8-r?q?=D0=D2?=\n", 30),
    "Subject: =?utf-8?q?=?koi8-r?q?x?=\n",
    "Subject: =?koi8-r?q?never ended\n",
    "Subject: =?koi8-r?q\n",
    "Subject: =?koi8-r\n",
    "Subject: =?",
    words(most_encoded_words + 1),
};

Names names_of(const std::vector<const char*>& charsets) {
  return {charsets.begin(), charsets.end()};
}

TEST(CharsetsFor, AreThoseOfTheEncodedWordsAndTheFallbacks) {
  for (const auto& c : told) {
    const NeededCharsets needed = charsets_for(c.header);
    EXPECT_EQ(c.want, names_of(needed.names)) << c.header;
    EXPECT_TRUE(needed.in_words) << c.header;
  }
}

TEST(CharsetsFor, AreNoDecodersForUsualWords) {
  for (const auto& c : usual) {
    const NeededCharsets needed = charsets_for(c.header);
    EXPECT_EQ(c.want, names_of(needed.names)) << c.header;
    EXPECT_FALSE(needed.in_words) << c.header;
  }
}

TEST(CharsetsFor, IsOneForRawTextWithoutEncodedWords) {
  for (const char* const header : {"Subject: raw \xe4\n", "From: \xc3\xa4 <a@b> = ?=\n"}) {
    const NeededCharsets needed = charsets_for(header);
    EXPECT_EQ(Names{"CP1252"}, names_of(needed.names)) << header;
    EXPECT_FALSE(needed.in_words) << header;
  }
}

TEST(CharsetsFor, AreAllWhereTheHeaderDoesNotTell) {
  for (const std::string& header : not_told)
    EXPECT_EQ(names_of(all_charsets()), names_of(charsets_for(header).names)) << header;
}

bool is_gmime_loaded() { return dlopen("libgmime-3.0.so.0", RTLD_LAZY | RTLD_NOLOAD) != nullptr; }

// What is read behind the name of a header.
std::string subject_of(const std::string& text) {
  load_charsets(charsets_for("Subject: " + text + "\n"));
  return stringToUtf8(text, nullptr).data();
}

TEST(LoadCharsets, LoadsADecoderForUnusualWordsOnly) {
  if (is_gmime_loaded()) GTEST_SKIP() << "another test of this process has loaded it";
  EXPECT_EQ("raw \xc3\xa4", subject_of("raw \xe4"));
  EXPECT_EQ("\xc3\xa4 x", subject_of("=?iso-8859-1?q?=E4_?= =?utf-8?b?eA==?="));
  EXPECT_FALSE(is_gmime_loaded());
  load_charsets(charsets_for("Subject: =?utf-8*en?q?a?=\n"));
  EXPECT_TRUE(is_gmime_loaded());
}

}  // namespace
}  // namespace Quarrow::Delivery
