// Raw 8-bit text in headers, whose charset nobody says.
#ifndef HOST_ZVELLPARSER_RAW_TEXT_H_
#define HOST_ZVELLPARSER_RAW_TEXT_H_

#include <iconv.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace zvellparser {

// Reads words as GMime does: as UTF-8 or, where that fits better, as windows-1252. GMime opens its
// converters anew for each word, and takes a second for half a megabyte of them.
class RawText {
 public:
  // `word` in UTF-8; '?' for each byte that its charset does not have.
  std::string to_utf8(std::string_view word);

 private:
  // Opened when it is needed: a converter may have to be loaded from a file.
  class Converter {
   public:
    explicit Converter(const char* charset) : charset_(charset) {}
    ~Converter();
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    // Gives `word` in UTF-8, and how many of its bytes can't be read: all of them where the system
    // does not know the charset.
    std::size_t convert(std::string_view word, std::string& utf8);

   private:
    bool open();

    const char* const charset_;
    iconv_t converter_ = nullptr;
  };

  Converter utf8_{"UTF-8"};
  Converter windows_{"CP1252"};
};

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_RAW_TEXT_H_
