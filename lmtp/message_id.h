// A message's identifier, for the log.
#ifndef QUARROW_LMTP_MESSAGE_ID_H_
#define QUARROW_LMTP_MESSAGE_ID_H_

#include <string>
#include <string_view>

namespace Quarrow::Lmtp {

// The first word of the Message-ID header line, angle brackets included, cut to 250 bytes; empty
// when there is none in `header`, which ends with an empty line. The text is a stranger's.
std::string message_id(std::string_view header);

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_MESSAGE_ID_H_
