// UTF-8 to other charsets. No other file sees ICU.
#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <memory>

#include "system/loaded_library.h"
#include "zvellparser.h"

namespace {

using Quarrow::LoadedLibrary;

// ICU counts in 32 bits, and one byte of input can become several of output.
constexpr std::size_t most_bytes = 1 << 26;

// The functions that are used of ICU. Their names end in its version.
struct Functions {
  const LoadedLibrary library{"libicuuc.so." U_ICU_VERSION_SHORT};
  decltype(&ucnv_open) const open = library["ucnv_open_" U_ICU_VERSION_SHORT];
  decltype(&ucnv_close) const close = library["ucnv_close_" U_ICU_VERSION_SHORT];
  decltype(&ucnv_getMaxCharSize) const longest_character =
      library["ucnv_getMaxCharSize_" U_ICU_VERSION_SHORT];
  decltype(&ucnv_fromUChars) const from_utf16 = library["ucnv_fromUChars_" U_ICU_VERSION_SHORT];
  decltype(&u_strFromUTF8WithSub) const from_utf8 =
      library["u_strFromUTF8WithSub_" U_ICU_VERSION_SHORT];
};

// Throws std::runtime_error when ICU is not there.
const Functions& icu() {
  static const Functions functions;
  return functions;
}

struct ConverterClose {
  void operator()(UConverter* converter) const { icu().close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterClose>;

Converter open_converter(const char* charset) {
  if (!charset || !*charset) return nullptr;  // ICU would take the locale's
  UErrorCode error = U_ZERO_ERROR;
  Converter converter(icu().open(charset, &error));
  return U_SUCCESS(error) ? std::move(converter) : nullptr;
}

// How many of the `length` bytes fit in `limit` without a character cut in two.
std::int32_t whole_characters(const char* data, std::size_t length, std::size_t limit) {
  limit = std::min(limit, most_bytes);
  if (length <= limit) return static_cast<std::int32_t>(length);
  std::size_t end = limit;
  while (end > 0 && limit - end < U8_MAX_LENGTH && U8_IS_TRAIL(data[end])) --end;
  return static_cast<std::int32_t>(U8_IS_LEAD(data[end]) ? end : limit);
}

std::u16string to_utf16(const char* data, std::int32_t length) {
  std::u16string text(static_cast<std::size_t>(length), u'\0');  // never more units than bytes
  std::int32_t units = 0;
  UErrorCode error = U_ZERO_ERROR;
  icu().from_utf8(text.data(), length, &units, data, length, 0xfffd, nullptr, &error);
  text.resize(U_SUCCESS(error) ? static_cast<std::size_t>(units) : 0);
  return text;
}

std::string from_utf16(UConverter* converter, const std::u16string& text) {
  const auto units = static_cast<std::int32_t>(text.size());
  const std::int32_t room =
      UCNV_GET_MAX_BYTES_FOR_STRING(units, icu().longest_character(converter));
  std::string bytes(static_cast<std::size_t>(room), '\0');
  UErrorCode error = U_ZERO_ERROR;
  const std::int32_t length =
      icu().from_utf16(converter, bytes.data(), room, text.data(), units, &error);
  bytes.resize(U_SUCCESS(error) ? static_cast<std::size_t>(length) : 0);
  return bytes;
}

}  // namespace

Buffer ZvellConv::fromUtf8(const char* charset, const char* data, std::size_t length,
                           std::size_t limit) {
  Buffer result;
  if (length == 0) return result;
  const Converter converter = open_converter(charset);
  if (!converter) return result;
  const std::u16string text = to_utf16(data, whole_characters(data, length, limit));
  const std::string bytes = from_utf16(converter.get(), text);
  result.append(bytes.data(), bytes.size());
  return result;
}
