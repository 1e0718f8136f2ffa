// Our way with header text beside GMime's, which takes too long for what strangers may send.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <iconv.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "host/zvellparser/encoded_text.h"
#include "host/zvellparser/encoded_text_test_support.h"
#include "host/zvellparser/gmime_reader.h"

namespace {

int opened_converters = 0;

}  // namespace

// Takes the place of the C library's, for GMime as well.
extern "C" iconv_t iconv_open(const char* to, const char* from) {
  static const auto real = reinterpret_cast<decltype(&iconv_open)>(dlsym(RTLD_NEXT, "iconv_open"));
  ++opened_converters;
  return real(to, from);
}

using namespace zvellparser;

namespace {

constexpr std::size_t texts_of_a_kind = 20000;

const std::vector<std::string> header_parts = {
    // what encoded words are made of
    "=?", "?=", "?", "=", "q", "B", "?q?", "?b?", "utf-8", "koi8-r", "iso-8859-1", "iso-2022-jp",
    "utf-16", "utf-7", "nope", "=C3", "=A4", "=E4", "=00", "=81", "_", "w6Q=", "5A==", "AAAA",
    "=?utf-8?q?", "=?utf-8?b?", "=?utf-8*en?q?", "=?koi8-r?q?", "=?iso-8859-1?q?",
    "=?windows-1252?b?", "=?us-ascii?q?", "=?gb2312?b?",
    // blanks and words
    " ", "  ", "\t", "\r", "\n", " ", "a", "x y", "<a@b>", "(", ",", "\"", "\x0b", "\x7f", "\x1b$B",
    // UTF-8, windows-1252, neither, and beyond Unicode
    "\xc3\xa4", "\xf0\x9f\x98\x80", "\xef\xbb\xbf", "\xef\xbf\xbe", "\xe4", "\xc3", "\x80", "\x81",
    "\x9d", "\xed\xa0\x80", "\xc0\x80", "\xf4\x8f\xbf\xbf", "\xf4\x90\x80\x80",
    "\xf8\x88\x80\x80\x80"};

// Whole encoded words, and what stands around them in headers.
const std::vector<std::string> word_parts = {"=?utf-8?q?J=C3=B6rg?=",
                                             "=?utf-8?B?SsO2cmc=?=",
                                             "=?iso-8859-1?q?J=F6rg_D=2E?=",
                                             "=?ISO-8859-15?Q?=A4?=",
                                             "=?windows-1252?q?=93a=94?=",
                                             "=?koi8-r?b?8NLJ18XU?=",
                                             "=?utf-8?q?=E2=82?=",
                                             "=?utf-8?q?=AC?=",
                                             "=?utf-8?q?a=00b?=",
                                             "=?koi8-r?q?a=00b?=",
                                             "=?iso-8859-1?q?_.=00?=",
                                             "=?windows-1252?q?=81?=",
                                             "=?utf-8?q?=FF?=",
                                             "=?nope?q?=E4?=",
                                             "=?utf-8?x?a?=",
                                             "=?utf-8?q?"
                                             "?=",
                                             "=?utf-8?b?Y2Fmw6?=",
                                             "=?utf-8?q?a b?=",
                                             " ",
                                             " ",
                                             " ",
                                             "\t",
                                             "J\xf6rg",
                                             "J\xc3\xb6rg",
                                             "<j@example.org>",
                                             ",",
                                             "(",
                                             ")",
                                             "Doe"};

// A fixed seed, and no distributions, which differ between standard libraries.
std::string text_of(const std::vector<std::string>& parts, std::size_t most) {
  static std::mt19937 engine(20100512);
  std::string text;
  for (std::size_t count = engine() % most; count > 0; --count)
    text += parts[engine() % parts.size()];
  return text;
}

// The C library loads and unloads the code of a charset for each converter, unless another is open.
class LoadedCharsets {
 public:
  LoadedCharsets() {
    for (const char* const charset :
         {"CP1252", "GBK", "ISO-2022-JP", "ISO-8859-1", "ISO-8859-15", "KOI8-R", "UTF-16", "UTF-7"})
      converters_.push_back(iconv_open("UTF-8", charset));
  }
  ~LoadedCharsets() {
    for (const iconv_t converter : converters_) (void)iconv_close(converter);
  }
  LoadedCharsets(const LoadedCharsets&) = delete;
  LoadedCharsets& operator=(const LoadedCharsets&) = delete;

 private:
  std::vector<iconv_t> converters_;
};

void expect_same(const std::vector<std::string>& parts) {
  const LoadedCharsets loaded;
  for (std::size_t i = 0; i < texts_of_a_kind; ++i) {
    const std::string text = text_of(parts, i % 2 == 0 ? 6 : 24);
    if (may_gmime_lose_words(text)) continue;
    ASSERT_EQ(decode_header_text(text, {}), decoded_whole(text, {}))
        << testing::PrintToString(text);
  }
}

TEST(EncodedTextAndGMime, ReadPiecesAlike) { expect_same(header_parts); }

TEST(EncodedTextAndGMime, ReadWordsAlike) { expect_same(word_parts); }

std::string repeated(const std::string& piece, std::size_t count) {
  std::string text;
  for (; count > 0; --count) text += piece;
  return text;
}

// Either is half a second's work where it is done for each of them.
TEST(EncodedTextAndGMime, OpensConvertersOnceForManyRawWords) {
  const std::string text = repeated("\x81 ", 100000);
  opened_converters = 0;
  EXPECT_EQ(repeated("? ", 100000), decoded_whole(text, {}));
  EXPECT_EQ(2, opened_converters);
}

TEST(EncodedTextAndGMime, GMimeGetsNothingThatIsNotClosed) {
  const std::string text = repeated("=?utf-8?q?x \xc3\xa4 ", 50000);
  opened_converters = 0;
  EXPECT_EQ(text, decoded_whole(text, {}));
  EXPECT_EQ(1, opened_converters);
}

}  // namespace
