// Reply lines.
#include "lmtp/reply.h"

#include <algorithm>

#include "lmtp/limits.h"

namespace Quarrow::Lmtp {
namespace {

// A reply has to be ASCII unless both sides agreed on more, and a line break in it would be read
// as the next reply.
char reply_character(char c) {
  const auto code = static_cast<unsigned char>(c);
  if (code > 126) return '?';
  return code < 32 ? ' ' : c;
}

}  // namespace

std::string reply_line(const Reply& reply) {
  std::string text = reply.text.substr(0, longest_reply_text);
  std::transform(text.begin(), text.end(), text.begin(), reply_character);
  const std::string status = reply.status.empty() ? "" : reply.status + ' ';
  return std::to_string(reply.code) + ' ' + status + text + "\r\n";
}

}  // namespace Quarrow::Lmtp
