// The status line, the headers that frame a response, and its own.
#include "http/response_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

#include "http/characters.h"
#include "http/status.h"

namespace Quarrow::Http {
namespace {

// The session's own: a second one could move the response's end.
constexpr const char* framing_headers[] = {"connection", "content-length", "date",
                                           "keep-alive", "trailer",        "transfer-encoding",
                                           "upgrade"};

bool is_sendable_header(const std::pair<std::string, std::string>& header) {
  const auto is_name = [&header](const char* name) { return header.first == name; };
  const bool is_small = std::none_of(header.first.begin(), header.first.end(),
                                     [](char c) { return c >= 'A' && c <= 'Z'; });
  return is_token(header.first) && is_small && is_header_value(header.second) &&
         std::none_of(std::begin(framing_headers), std::end(framing_headers), is_name);
}

// By hand: strftime(3) writes names as the locale has them.
std::string date_text(std::time_t time) {
  static const char* const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::tm parts{};
  (void)gmtime_r(&time, &parts);  // fails in years that no clock reaches
  std::array<char, 64> text{};
  (void)std::snprintf(text.data(), text.size(), "%s, %02d %s %d %02d:%02d:%02d GMT",
                      days[parts.tm_wday], parts.tm_mday, months[parts.tm_mon],
                      parts.tm_year + 1900, parts.tm_hour, parts.tm_min, parts.tm_sec);
  return text.data();
}

// RFC 9110, sections 15.3.5 and 15.4.5: these have no body, and so no length.
bool has_body(int status) { return status != 204 && status != 304; }

}  // namespace

bool is_sendable(const Response& response) {
  return response.status >= 200 && response.status <= 599 &&
         std::all_of(response.headers.begin(), response.headers.end(), is_sendable_header);
}

std::string response_text(const Response& response, const Sending& sending, std::time_t now) {
  std::string text =
      "HTTP/1.1 " + std::to_string(response.status) + ' ' + status_name(response.status) + "\r\n";
  text += "date: " + date_text(now) + "\r\n";
  if (sending.is_last)
    text += "connection: close\r\n";
  else if (sending.to_old)
    text += "connection: keep-alive\r\n";
  for (const auto& [name, value] : response.headers) text += name + ": " + value + "\r\n";
  if (has_body(response.status))
    text += "content-length: " + std::to_string(response.body.size()) + "\r\n";
  text += "\r\n";
  if (has_body(response.status) && !sending.without_body) text += response.body;
  return text;
}

}  // namespace Quarrow::Http
