// The names of statuses (RFC 9110, section 15).
#ifndef QUARROW_HTTP_STATUS_H_
#define QUARROW_HTTP_STATUS_H_

namespace Quarrow::Http {

// The name of a status, such as "Not Found"; "Unknown" for one that we never send.
const char* status_name(int status);

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_STATUS_H_
