// GMime's decoder of header text.
//
// Its parser of address lists is not for mail from outside: it calls itself for each group that
// begins, until the stack ends, and takes quadratic time on words with commas between them.
#include "host/zvellparser/gmime_reader.h"

#include <gmime/gmime.h>

#include <algorithm>
#include <memory>

namespace zvellparser {
namespace {

struct GLibFree {
  void operator()(char* text) const { g_free(text); }
};
using GLibText = std::unique_ptr<char, GLibFree>;

struct OptionsFree {
  void operator()(GMimeParserOptions* options) const { g_mime_parser_options_free(options); }
};
using Options = std::unique_ptr<GMimeParserOptions, OptionsFree>;

// Sets GMime up, once a process.
void use_gmime() {
  static const bool ready = (g_mime_init(), true);
  (void)ready;  // nothing to ask of it: g_mime_init does not fail
}

Options make_options(const std::vector<std::string>& charsets) {
  use_gmime();
  std::vector<const char*> names = {"utf-8"};
  for (const std::string& charset : charsets) names.push_back(charset.c_str());
  names.insert(names.end(), {"windows-1252", nullptr});
  Options options(g_mime_parser_options_new());
  g_mime_parser_options_set_fallback_charsets(options.get(), names.data());
  return options;
}

std::string decode(GMimeParserOptions* options, const std::string& text) {
  const GLibText decoded(g_mime_utils_header_decode_text(options, text.c_str()));
  const GLibText valid(g_utf8_make_valid(decoded.get(), -1));
  return valid.get();
}

std::string without_nuls(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
  return text;
}

}  // namespace

std::string decode_header_text(const std::string& text, const std::vector<std::string>& charsets) {
  const std::string clean = without_nuls(text);
  const bool encoded = clean.find("=?") != std::string::npos;
  if (!encoded && g_utf8_validate(clean.data(), static_cast<gssize>(clean.size()), nullptr)) {
    return clean;
  }
  if (!charsets.empty()) return decode(make_options(charsets).get(), clean);
  static const Options builtin = make_options({});
  return decode(builtin.get(), clean);
}

}  // namespace zvellparser
