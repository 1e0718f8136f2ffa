// Reply lines.
#include "lmtp/reply.h"

#include <algorithm>

#include "lmtp/limits.h"
#include "system/printable.h"

namespace Quarrow::Lmtp {
namespace {

// A reply has to be ASCII unless both sides agreed on more, and a client would take the text behind
// a line break for the next reply.
char reply_character(char c) {
  if (static_cast<unsigned char>(c) > 126) return '?';
  return is_control(c) ? ' ' : c;
}

}  // namespace

std::string reply_line(const Reply& reply) {
  std::string text = reply.text.substr(0, longest_reply_text);
  std::transform(text.begin(), text.end(), text.begin(), reply_character);
  const std::string status = reply.status.empty() ? "" : reply.status + ' ';
  return std::to_string(reply.code) + ' ' + status + text + "\r\n";
}

}  // namespace Quarrow::Lmtp
