// Names of statuses, as RFC 9110 and RFC 6585 have them.
#include "http/status.h"

#include <gtest/gtest.h>

namespace Quarrow::Http {
namespace {

const struct {
  int status;
  const char* name;
} statuses[] = {{200, "OK"},
                {201, "Created"},
                {202, "Accepted"},
                {204, "No Content"},
                {304, "Not Modified"},
                {400, "Bad Request"},
                {401, "Unauthorized"},
                {403, "Forbidden"},
                {404, "Not Found"},
                {405, "Method Not Allowed"},
                {408, "Request Timeout"},
                {409, "Conflict"},
                {412, "Precondition Failed"},
                {413, "Content Too Large"},
                {415, "Unsupported Media Type"},
                {417, "Expectation Failed"},
                {422, "Unprocessable Content"},
                {428, "Precondition Required"},
                {429, "Too Many Requests"},
                {431, "Request Header Fields Too Large"},
                {500, "Internal Server Error"},
                {503, "Service Unavailable"},
                {299, "Unknown"}};

TEST(Status, HasItsName) {
  for (const auto& c : statuses) EXPECT_STREQ(c.name, status_name(c.status));
}

}  // namespace
}  // namespace Quarrow::Http
