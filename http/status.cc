// A table.
#include "http/status.h"

#include <algorithm>
#include <iterator>

namespace Quarrow::Http {
namespace {

const struct {
  int status;
  const char* name;
} names[] = {{200, "OK"},
             {201, "Created"},
             {202, "Accepted"},
             {204, "No Content"},
             {205, "Reset Content"},
             {206, "Partial Content"},
             {301, "Moved Permanently"},
             {302, "Found"},
             {303, "See Other"},
             {304, "Not Modified"},
             {307, "Temporary Redirect"},
             {308, "Permanent Redirect"},
             {400, "Bad Request"},
             {401, "Unauthorized"},
             {403, "Forbidden"},
             {404, "Not Found"},
             {405, "Method Not Allowed"},
             {406, "Not Acceptable"},
             {408, "Request Timeout"},
             {409, "Conflict"},
             {410, "Gone"},
             {411, "Length Required"},
             {412, "Precondition Failed"},
             {413, "Content Too Large"},
             {414, "URI Too Long"},
             {415, "Unsupported Media Type"},
             {416, "Range Not Satisfiable"},
             {417, "Expectation Failed"},
             {422, "Unprocessable Content"},
             {423, "Locked"},
             {428, "Precondition Required"},
             {429, "Too Many Requests"},
             {431, "Request Header Fields Too Large"},
             {500, "Internal Server Error"},
             {501, "Not Implemented"},
             {502, "Bad Gateway"},
             {503, "Service Unavailable"},
             {504, "Gateway Timeout"},
             {505, "HTTP Version Not Supported"},
             {507, "Insufficient Storage"}};

}  // namespace

const char* status_name(int status) {
  const auto found = std::find_if(std::begin(names), std::end(names),
                                  [status](const auto& each) { return each.status == status; });
  return found == std::end(names) ? "Unknown" : found->name;
}

}  // namespace Quarrow::Http
