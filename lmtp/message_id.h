// A message's identifier, for the log.
#ifndef QUARROW_LMTP_MESSAGE_ID_H_
#define QUARROW_LMTP_MESSAGE_ID_H_

#include <string>
#include <string_view>

namespace Quarrow::Lmtp {

// The first word of the Message-ID line in `header`, angle brackets included, cut to 250 bytes;
// empty when there is none. `header` ends at its first empty line. A stranger chose the text.
std::string message_id(std::string_view header);

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_MESSAGE_ID_H_
