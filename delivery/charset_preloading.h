// Loading the converters of charsets before a process is confined, when it can't load them any
// more.
#ifndef QUARROW_DELIVERY_CHARSET_PRELOADING_H_
#define QUARROW_DELIVERY_CHARSET_PRELOADING_H_

#include <string_view>
#include <vector>

namespace Quarrow::Delivery {

// A header with more encoded words than this gets all charsets: it may hold nothing else, and
// looking through them takes time.
constexpr int most_encoded_words = 1000;

// The names of the charsets that mail is written in, as iconv_open(3) takes them. A confined
// process can't decode any other charset, unless the C library has it built in (UTF-16, UTF-32).
const std::vector<const char*>& all_charsets();

// What decoding may need.
struct NeededCharsets {
  std::vector<const char*> names;  // each once
  bool in_words;                   // encoded words (RFC 2047) that need a decoder of their own
};

// The charsets that decoding `header` may need: none for a header that is plain ASCII with no
// encoded words but usual ones in UTF-8, that of raw text where it has no words at all, and
// all_charsets() where the words do not tell. The names come from our own table, since those in the
// header are a stranger's. Loads nothing.
NeededCharsets charsets_for(std::string_view header);

// Loads the converters of `charsets`, and the decoder of unusual words, which stay loaded until the
// process ends. A converter that the system does not have is left out.
void load_charsets(const NeededCharsets& charsets);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_CHARSET_PRELOADING_H_
