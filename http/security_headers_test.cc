// What browsers are told.
#include "http/security_headers.h"

#include <gtest/gtest.h>

namespace Quarrow::Http {
namespace {

TEST(SecurityHeaders, AllowFilesOfOurOwnAlone) {
  Headers headers;
  add_security_headers(headers);
  const Headers wanted = {
      {"content-security-policy",
       "default-src 'none'; script-src 'self'; style-src 'self'; img-src data: 'self'; "
       "connect-src 'self'; base-uri 'none'; form-action 'self'; frame-ancestors 'none'"},
      {"cross-origin-opener-policy", "same-origin"},
      {"cross-origin-resource-policy", "same-origin"},
      {"x-content-type-options", "nosniff"},
      {"referrer-policy", "no-referrer"},
      {"cache-control", "no-store"}};
  EXPECT_EQ(wanted, headers);
}

TEST(SecurityHeaders, LeaveAnAnswersOwnOnes) {
  Headers headers = {{"cache-control", "no-cache"}};
  add_security_headers(headers);
  unsigned count = 0;
  for (const auto& header : headers) count += header.first == "cache-control" ? 1 : 0;
  EXPECT_EQ(1U, count);
  EXPECT_EQ("no-cache", *header_of(headers, "cache-control"));
}

}  // namespace
}  // namespace Quarrow::Http
