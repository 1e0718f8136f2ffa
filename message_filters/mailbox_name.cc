// From UTF-8 to modified UTF-7, and back.
#include "message_filters/mailbox_name.h"

#include <zvellparser.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace Quarrow::MessageFilters {
namespace {

const char imap_charset[] = "IMAP-mailbox-name";
constexpr std::size_t converter_limit = 1024;  // bytes of one level of a folder

std::string imap_level(const std::string& level) {
  return ZvellConv::fromUtf8(imap_charset, level.data(), level.size(), converter_limit).data();
}

// The base64 of RFC 3501, section 5.1.3.
constexpr std::string_view base64_digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,";

// The UTF-16 that `text` encodes.
std::optional<std::vector<std::uint16_t>> utf16_of(std::string_view text) {
  std::vector<std::uint16_t> units;
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const char c : text) {
    const std::size_t digit = base64_digits.find(c);
    if (digit == std::string_view::npos) return std::nullopt;
    bits = (bits << 6U) | static_cast<std::uint32_t>(digit);
    count += 6;
    if (count < 16) continue;
    count -= 16;
    units.push_back(static_cast<std::uint16_t>(bits >> count));
    bits &= (1U << count) - 1;
  }
  if (count >= 6 || bits != 0) return std::nullopt;
  return units;
}

void append_utf8(std::uint32_t code, std::string& out) {
  const auto byte = [&out](std::uint32_t value) { out += static_cast<char>(value); };
  const auto rest = [&](unsigned shift) { byte(0x80U | ((code >> shift) & 0x3FU)); };
  if (code < 0x80) return byte(code);
  if (code < 0x800) {
    byte(0xC0U | (code >> 6U));
  } else {
    if (code < 0x10000) {
      byte(0xE0U | (code >> 12U));
    } else {
      byte(0xF0U | (code >> 18U));
      rest(12);
    }
    rest(6);
  }
  rest(0);
}

// False for a surrogate without its other half.
bool append_utf8(const std::vector<std::uint16_t>& units, std::string& out) {
  for (std::size_t i = 0; i < units.size(); ++i) {
    std::uint32_t code = units[i];
    if (code >= 0xD800 && code < 0xE000) {
      const bool is_pair = code < 0xDC00 && i + 1 < units.size() && (units[i + 1] >> 10U) == 0x37;
      if (!is_pair) return false;
      code = 0x10000 + ((code - 0xD800) << 10U) + (units[++i] - 0xDC00U);
    }
    append_utf8(code, out);
  }
  return true;
}

}  // namespace

std::string imap_mailbox_name(const std::string& folder) {
  std::string name;
  std::size_t start = 0;
  // The character behind a separator never separates: "a//b" is "a" and "/b".
  for (std::size_t end = folder.find('/'); end != std::string::npos;
       end = folder.find('/', start + 1)) {
    name += imap_level(folder.substr(start, end - start)) + '/';
    start = end + 1;
  }
  return name + imap_level(folder.substr(start));
}

std::string readable_mailbox_name(const std::string& name) {
  std::string readable;
  std::size_t start = 0;
  for (std::size_t shift = name.find('&'); shift != std::string::npos;
       shift = name.find('&', start)) {
    const std::size_t end = name.find('-', shift);
    if (end == std::string::npos) return name;
    readable += name.substr(start, shift - start);
    start = end + 1;
    if (end == shift + 1) {
      readable += '&';
      continue;
    }
    const auto units = utf16_of(std::string_view(name).substr(shift + 1, end - shift - 1));
    if (!units || !append_utf8(*units, readable)) return name;
  }
  return readable + name.substr(start);
}

}  // namespace Quarrow::MessageFilters
