// A table, and why each row is there.
#include "http/security_headers.h"

namespace Quarrow::Http {
namespace {

const Headers security_headers = {
    // Scripts and styles are files of ours, data goes to us alone, and no other page frames ours.
    {"content-security-policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src data: 'self'; "
     "connect-src 'self'; base-uri 'none'; form-action 'self'; frame-ancestors 'none'"},
    {"cross-origin-opener-policy", "same-origin"},    // no page that opened ours has hold of it
    {"cross-origin-resource-policy", "same-origin"},  // no other page loads rules as a picture
    {"x-content-type-options", "nosniff"},            // no answer is taken for a script
    {"referrer-policy", "no-referrer"},               // names of folders stay here
    {"cache-control", "no-store"},                    // nor are they on the disk after signing out
};

}  // namespace

void add_security_headers(Headers& headers) {
  for (const auto& header : security_headers)
    if (header_of(headers, header.first) == nullptr) headers.push_back(header);
}

}  // namespace Quarrow::Http
