// A message's identifier, for the log.
#ifndef QUARROW_LMTP_MESSAGE_ID_H_
#define QUARROW_LMTP_MESSAGE_ID_H_

#include <string>

namespace Quarrow::Lmtp {

// The first word of the Message-ID header line, angle brackets included, cut to 250 bytes; empty
// when there is none among the first 64 KiB of the headers in `fd`. The text is a stranger's.
std::string message_id(int fd);

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_MESSAGE_ID_H_
