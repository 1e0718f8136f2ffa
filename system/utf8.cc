// Boost's decoder, asked for each character.
#include "system/utf8.h"

#include <boost/locale/utf.hpp>

namespace Quarrow {

bool is_utf8(const std::string& text) {
  using Utf8 = boost::locale::utf::utf_traits<char>;
  for (auto at = text.begin(); at != text.end();)
    if (!boost::locale::utf::is_valid_codepoint(Utf8::decode(at, text.end()))) return false;
  return true;
}

}  // namespace Quarrow
