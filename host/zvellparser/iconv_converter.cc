// iconv(3), behind a type that closes it.
#include "host/zvellparser/iconv_converter.h"

#include <cerrno>

namespace zvellparser {
namespace {

constexpr std::size_t longest_character = 3;
constexpr auto failed = static_cast<std::size_t>(-1);
const auto no_converter = reinterpret_cast<iconv_t>(-1);

}  // namespace

IconvConverter::~IconvConverter() {
  if (converter_ != nullptr && converter_ != no_converter) (void)iconv_close(converter_);
}

bool IconvConverter::open() {
  if (converter_ == nullptr) converter_ = iconv_open("UTF-8", charset_);
  return converter_ != no_converter;
}

std::size_t IconvConverter::convert(std::string_view text, std::string& utf8) {
  if (!open()) return text.size();
  utf8.resize(longest_character * text.size());
  char* in = const_cast<char*>(text.data());  // iconv does not write there
  std::size_t in_left = text.size();
  char* out = utf8.data();
  std::size_t out_left = utf8.size();
  std::size_t unread = 0;
  while (in_left > 0 && iconv(converter_, &in, &in_left, &out, &out_left) == failed) {
    if (errno != EILSEQ) {  // it ends in a character: nothing stands for that
      unread += in_left;
      break;
    }
    *out++ = '?';
    --out_left;
    ++in;
    --in_left;
    ++unread;
  }
  (void)iconv(converter_, nullptr, nullptr, nullptr, nullptr);
  utf8.resize(utf8.size() - out_left);
  return unread;
}

}  // namespace zvellparser
