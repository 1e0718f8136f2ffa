// A converter of the C library from one charset to UTF-8.
#ifndef HOST_ZVELLPARSER_ICONV_CONVERTER_H_
#define HOST_ZVELLPARSER_ICONV_CONVERTER_H_

#include <iconv.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace zvellparser {

// For charsets without states, whose characters take at most three bytes of UTF-8 for each of
// theirs.
class IconvConverter {
 public:
  // `charset` must outlive the converter. It is opened when it is needed: it may have to be loaded
  // from a file.
  explicit IconvConverter(const char* charset) : charset_(charset) {}
  ~IconvConverter();
  IconvConverter(const IconvConverter&) = delete;
  IconvConverter& operator=(const IconvConverter&) = delete;

  // Gives `text` in UTF-8, '?' for each byte that its charset does not have, and how many of its
  // bytes can't be read: all of them where the system does not know the charset.
  std::size_t convert(std::string_view text, std::string& utf8);

 private:
  bool open();

  const char* const charset_;
  iconv_t converter_ = nullptr;
};

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_ICONV_CONVERTER_H_
