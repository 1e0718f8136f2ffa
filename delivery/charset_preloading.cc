// Which charsets a header needs, and loading them.
#include "delivery/charset_preloading.h"

#include <iconv.h>
#include <strings.h>
#include <zvellparser.h>

#include <algorithm>
#include <deque>
#include <optional>
#include <string>

#include "host/zvellparser/encoded_words.h"

namespace Quarrow::Delivery {
namespace {

const std::vector<const char*> mail_charsets = {
    "US-ASCII",    "UTF-8",         "ISO-8859-1",  "ISO-8859-2",  "ISO-8859-3",  "ISO-8859-4",
    "ISO-8859-5",  "ISO-8859-6",    "ISO-8859-7",  "ISO-8859-8",  "ISO-8859-9",  "ISO-8859-10",
    "ISO-8859-11", "ISO-8859-13",   "ISO-8859-14", "ISO-8859-15", "ISO-8859-16", "CP1250",
    "CP1251",      "CP1252",        "CP1253",      "CP1254",      "CP1255",      "CP1256",
    "CP1257",      "CP1258",        "CP437",       "CP850",       "CP852",       "CP866",
    "CP874",       "CP932",         "CP949",       "KOI8-R",      "KOI8-U",      "KOI8-T",
    "MACINTOSH",   "MAC-CYRILLIC",  "TIS-620",     "GB2312",      "GBK",         "GB18030",
    "HZ",          "BIG5",          "BIG5-HKSCS",  "EUC-TW",      "EUC-JP",      "SHIFT_JIS",
    "ISO-2022-JP", "ISO-2022-JP-2", "EUC-KR",      "ISO-2022-KR", "ISO-2022-CN", "JOHAB",
    "UHC",         "TCVN",          "VISCII",      "ARMSCII-8",   "GEORGIAN-PS", "GEORGIAN-ACADEMY",
    "UTF-7",       "RK1048"};

// Raw text is read as this where it is no UTF-8, which the C library has built in.
constexpr const char* raw_charset = "CP1252";

// Decoders read text as one of these when it is not valid in the charset that it names.
const std::vector<const char*> fallback_charsets = {"ISO-8859-1", "CP1252"};

class Converter {
 public:
  explicit Converter(const char* charset) : converter_(iconv_open("UTF-8", charset)) {}
  ~Converter() {
    if (converter_ != reinterpret_cast<iconv_t>(-1)) (void)iconv_close(converter_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

 private:
  const iconv_t converter_;
};

// The converters stay open: the C library unloads the code of converters that are not used.
void load_converter(const char* charset) {
  static std::deque<Converter> converters;
  converters.emplace_back(charset);
}

// With a language, the word is none that is read without the decoder.
void decode_word_in(const char* charset) {
  (void)stringToUtf8("=?" + std::string(charset) + "*en?q?=41=C4?=", nullptr);
}

// A NUL goes away before decoding, and the text around it may become an encoded word.
bool is_plain_byte(unsigned char c) { return c > 0 && c < 0x80; }

// Takes the rest of an encoded word, whose "=?" is gone, off `header`, and gives the name of its
// charset; nothing when decoders may see another word in it.
std::optional<std::string_view> take_charset(std::string_view& header) {
  const std::size_t name = header.find('?');
  const std::size_t encoding = name == header.npos ? name : header.find('?', name + 1);
  const std::size_t end = encoding == header.npos ? encoding : header.find("?=", encoding + 1);
  if (end == header.npos || header.substr(0, end).find("=?") != header.npos) return std::nullopt;
  const std::string_view charset = header.substr(0, name);
  header.remove_prefix(end + 1);  // the last byte may begin another word
  return charset;
}

// Our name of the charset that an encoded word names, with a language or without (RFC 2231); null
// when `mail_charsets` does not hold it.
const char* known_charset(std::string_view named) {
  constexpr std::string_view registered = "windows-";  // "CP" in shorter names
  std::string name(named.substr(0, named.find('*')));
  if (strcasecmp(name.c_str(), "GB2312") == 0) name = "GBK";  // holds GB2312; GMime takes it
  if (strncasecmp(name.c_str(), registered.data(), registered.size()) == 0)
    name.replace(0, registered.size(), "CP");
  const auto known =
      std::find_if(mail_charsets.begin(), mail_charsets.end(),
                   [&name](const char* charset) { return strcasecmp(charset, name.c_str()) == 0; });
  return known == mail_charsets.end() ? nullptr : *known;
}

void add(const char* charset, std::vector<const char*>& charsets) {
  if (std::find(charsets.begin(), charsets.end(), charset) == charsets.end())
    charsets.push_back(charset);
}

// Takes an encoded word off `header`, which begins with it, and adds what it needs. False when it
// may need any charset.
bool take_word(std::string_view& header, NeededCharsets& needed) {
  if (const auto usual = zvellparser::usual_word(header)) {
    if (usual->converter != nullptr) add(known_charset(usual->charset), needed.names);
    header.remove_prefix(usual->length - 1);  // the last byte may begin another word
    return true;
  }
  header.remove_prefix(2);
  const auto named = take_charset(header);
  const char* const known = named ? known_charset(*named) : nullptr;
  if (known == nullptr) return false;
  needed.in_words = true;
  for (const char* const charset : fallback_charsets) add(charset, needed.names);
  add(known, needed.names);
  return true;
}

}  // namespace

const std::vector<const char*>& all_charsets() { return mail_charsets; }

NeededCharsets charsets_for(std::string_view header) {
  const bool is_plain = std::all_of(header.begin(), header.end(), is_plain_byte);
  if (!is_plain && (header.find('\0') != header.npos || header.find("=?") != header.npos))
    return {mail_charsets, true};
  if (!is_plain) return {{raw_charset}, false};
  NeededCharsets needed{{}, false};
  int words = 0;
  for (std::size_t at = 0; (at = header.find("=?")) != header.npos;) {
    header.remove_prefix(at);
    if (++words > most_encoded_words || !take_word(header, needed)) return {mail_charsets, true};
  }
  return needed;
}

void load_charsets(const NeededCharsets& charsets) {
  for (const char* const charset : charsets.names) {
    load_converter(charset);
    if (charsets.in_words) decode_word_in(charset);
  }
}

}  // namespace Quarrow::Delivery
