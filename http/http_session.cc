// From requests to answers.
#include "http/http_session.h"

#include <algorithm>
#include <ctime>
#include <string>
#include <utility>

#include "http/problem.h"
#include "http/security_headers.h"

namespace Quarrow::Http {

Session::Session(Handler handler, const Limits& limits, Server::Output output,
                 Server::OthersWait others_wait)
    : handler_(std::move(handler)),
      limits_(limits),
      output_(std::move(output)),
      others_wait_(std::move(others_wait)),
      parser_(limits) {}

void Session::take(const char* data, std::size_t size) {
  while (size > 0 && !over_) {
    const std::size_t used = to_drop_ > 0 ? drop(size) : take_request(data, size);
    data += used;
    size -= used;
  }
}

void Session::stop() {
  stopping_ = true;
  over_ = over_ || !parser_.has_begun();
}

void Session::time_out() {
  if (!over_ && parser_.has_begun()) refuse({408, "The request took too long to come."});
  over_ = true;
}

// A proxy would take an answer that it gets before it asks for the answer to its next request.
void Session::give_way() {
  const bool is_waited_for = !greeted_ || parser_.has_begun();
  if (!over_ && is_waited_for) refuse({503, "Others are waiting: come again in a few seconds."});
  over_ = true;
}

std::size_t Session::take_request(const char* data, std::size_t size) {
  const std::size_t used = parser_.take(data, size);
  if (parser_.refusal())
    refuse_request();
  else if (parser_.is_complete())
    answer();
  else if (parser_.wants_continue())
    send("HTTP/1.1 100 Continue\r\n\r\n");
  return used;
}

std::size_t Session::drop(std::size_t size) {
  const auto used = static_cast<std::size_t>(std::min<std::uint64_t>(size, to_drop_));
  to_drop_ -= used;
  over_ = to_drop_ == 0;
  return used;
}

void Session::answer() {
  Sending sending;
  sending.to_old = parser_.is_old();
  sending.is_last = !parser_.keeps_alive() || stopping_ || steps_ + 1 >= limits_.requests;
  Request request = parser_.take_request();
  sending.without_body = request.method == "HEAD";
  if (sending.without_body) request.method = "GET";
  Response response = handler_(request);
  sending.is_last = sending.is_last || others_wait_();
  send(std::move(response), sending);
  over_ = over_ || sending.is_last;
}

void Session::refuse_request() {
  refuse(*parser_.refusal());
  if (parser_.refused_bytes() <= most_dropped) to_drop_ = parser_.refused_bytes();
  over_ = over_ || to_drop_ == 0;
}

void Session::refuse(const Refusal& refusal) {
  Response response = problem(refusal.status, refusal.detail);
  if (refusal.status == 503)
    response.headers.emplace_back("retry-after", std::to_string(retry_after));
  Sending sending;
  sending.is_last = true;
  send(std::move(response), sending);
}

void Session::send(Response response, const Sending& sending) {
  if (!is_sendable(response)) response = problem(500, "The answer can't be sent.");
  add_security_headers(response.headers);
  ++steps_;
  send(response_text(response, sending, std::time(nullptr)));
}

void Session::send(const std::string& bytes) { over_ = !output_(bytes) || over_; }

}  // namespace Quarrow::Http
