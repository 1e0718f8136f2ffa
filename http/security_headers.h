// What browsers are told about each answer.
#ifndef QUARROW_HTTP_SECURITY_HEADERS_H_
#define QUARROW_HTTP_SECURITY_HEADERS_H_

#include "http/message.h"

namespace Quarrow::Http {

// Adds the headers that keep a browser from running, framing, guessing, telling on and keeping what
// it should not. A header that is there already stays alone: a file of the page that may be kept
// brings a Cache-Control of its own. A Session does this to all that it sends.
void add_security_headers(Headers& headers);

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_SECURITY_HEADERS_H_
