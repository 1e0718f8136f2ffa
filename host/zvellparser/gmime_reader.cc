// GMime's decoder of header text.
//
// Its parser of address lists is not for mail from outside: it calls itself for each group that
// begins, until the stack ends, and takes quadratic time on words with commas between them.
#include "host/zvellparser/gmime_reader.h"

#include <gmime/gmime.h>

#include <memory>

#include "system/loaded_library.h"

namespace zvellparser {
namespace {

// The functions that are used of GMime, and of GLib, on which GMime stands.
struct Functions {
  const Quarrow::LoadedLibrary library{"libgmime-3.0.so.0"};
  decltype(&g_mime_init) const init = library["g_mime_init"];
  decltype(&g_mime_parser_options_new) const new_options = library["g_mime_parser_options_new"];
  decltype(&g_mime_parser_options_set_fallback_charsets) const set_fallback_charsets =
      library["g_mime_parser_options_set_fallback_charsets"];
  decltype(&g_mime_parser_options_free) const free_options = library["g_mime_parser_options_free"];
  decltype(&g_mime_utils_header_decode_text) const decode_text =
      library["g_mime_utils_header_decode_text"];
  decltype(&g_utf8_validate) const is_utf8 = library["g_utf8_validate"];
  decltype(&g_utf8_make_valid) const make_utf8 = library["g_utf8_make_valid"];
  decltype(&g_free) const free_text = library["g_free"];
};

// GMime, set up once a process. Throws std::runtime_error when it is not there.
const Functions& gmime() {
  static const Functions functions;
  static const bool ready = (functions.init(), true);
  (void)ready;  // nothing to ask of it: g_mime_init does not fail
  return functions;
}

struct TextFree {
  void operator()(char* text) const { gmime().free_text(text); }
};
using GLibText = std::unique_ptr<char, TextFree>;

struct OptionsFree {
  void operator()(GMimeParserOptions* options) const { gmime().free_options(options); }
};
using Options = std::unique_ptr<GMimeParserOptions, OptionsFree>;

Options make_options(const std::vector<std::string>& charsets) {
  std::vector<const char*> names = {"utf-8"};
  for (const std::string& charset : charsets) names.push_back(charset.c_str());
  names.insert(names.end(), {"windows-1252", nullptr});
  Options options(gmime().new_options());
  gmime().set_fallback_charsets(options.get(), names.data());
  return options;
}

std::string decode(GMimeParserOptions* options, const std::string& text) {
  const GLibText decoded(gmime().decode_text(options, text.c_str()));
  const GLibText valid(gmime().make_utf8(decoded.get(), -1));
  return valid.get();
}

}  // namespace

std::string decode_header_text(const std::string& text, const std::vector<std::string>& charsets) {
  const bool encoded = text.find("=?") != std::string::npos;
  if (!encoded && gmime().is_utf8(text.data(), static_cast<gssize>(text.size()), nullptr))
    return text;
  if (!charsets.empty()) return decode(make_options(charsets).get(), text);
  static const Options builtin = make_options({});
  return decode(builtin.get(), text);
}

}  // namespace zvellparser
