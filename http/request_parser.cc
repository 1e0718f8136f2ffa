// The header byte by byte, then the body.
#include "http/request_parser.h"

#include <algorithm>
#include <utility>

#include "http/characters.h"
#include "http/framing.h"
#include "http/head_parser.h"

namespace Quarrow::Http {
namespace {

constexpr std::string_view line_end = "\r\n";

bool ends_with(const std::string& text, std::string_view end) {
  return text.size() >= end.size() &&
         text.compare(text.size() - end.size(), std::string::npos, end) == 0;
}

}  // namespace

std::size_t RequestParser::take(const char* data, std::size_t size) {
  switch (state_) {
    case State::head:
      return take_head(data, size);
    case State::sized_body:
      return take_sized_body(data, size);
    case State::chunked_body:
      return take_chunked_body(data, size);
    case State::complete:
    case State::refused:
      break;
  }
  return 0;
}

bool RequestParser::has_begun() const {
  if (state_ == State::head) return !head_.empty();
  return state_ == State::sized_body || state_ == State::chunked_body;
}

bool RequestParser::wants_continue() { return std::exchange(wants_continue_, false); }

Request RequestParser::take_request() {
  state_ = State::head;
  return std::exchange(request_, {});
}

std::size_t RequestParser::take_head(const char* data, std::size_t size) {
  std::size_t used = 0;
  while (used < size && state_ == State::head)
    if (auto refusal = take_head_byte(data[used++])) refuse(std::move(*refusal));
  return used;
}

std::optional<Refusal> RequestParser::take_head_byte(char c) {
  const char last = head_.empty() ? '\n' : head_.back();
  if (!may_follow(last, c))
    return Refusal{400, "A line ends with CR and LF, and holds no control characters."};
  if (last == '\n' && (c == ' ' || c == '\t'))
    return Refusal{400, "A line of the header begins with a blank."};
  head_ += c;
  if (head_.size() > limits_.header)
    return head_.find(line_end) == std::string::npos ? Refusal{414, "The target is too long."}
                                                     : Refusal{431, "The header is too long."};
  if (head_ == line_end) {  // some clients send one behind a body (RFC 9112, section 2.2)
    if (std::exchange(blank_line_, true)) return Refusal{400, "The request line is empty."};
    head_.clear();
  }
  return ends_with(head_, "\r\n\r\n") ? end_head() : std::nullopt;
}

std::optional<Refusal> RequestParser::end_head() {
  auto refusal = read_head();
  head_.clear();
  blank_line_ = false;
  return refusal;
}

std::optional<Refusal> RequestParser::read_head() {
  if (auto refusal = refusal_of_line(head_.substr(0, head_.find(line_end)), limits_))
    return refusal;
  auto head = parse_head(head_);
  if (!head) return Refusal{400, "The header is malformed."};
  if (auto refusal = refusal_of_head(*head, limits_)) {
    if (refusal->status == 413) refused_bytes_ = head->length;
    return refusal;
  }
  version_ = head->version;
  keeps_alive_ = head->keeps_alive;
  left_ = head->length;
  if (head->is_chunked) {
    chunks_.emplace(limits_);
    state_ = State::chunked_body;
  } else {
    state_ = left_ > 0 ? State::sized_body : State::complete;
  }
  wants_continue_ = version_ > 10 && state_ != State::complete &&
                    header_of(head->request.headers, "expect") != nullptr;
  request_ = std::move(head->request);
  return std::nullopt;
}

std::size_t RequestParser::take_sized_body(const char* data, std::size_t size) {
  const auto used = static_cast<std::size_t>(std::min<std::uint64_t>(size, left_));
  request_.body.append(data, used);
  left_ -= used;
  if (left_ == 0) state_ = State::complete;
  return used;
}

std::size_t RequestParser::take_chunked_body(const char* data, std::size_t size) {
  const std::size_t used = chunks_->take(data, size, request_.body);
  if (chunks_->is_complete()) state_ = State::complete;
  if (chunks_->refusal()) refuse(*chunks_->refusal());
  return used;
}

void RequestParser::refuse(Refusal refusal) {
  state_ = State::refused;
  refusal_ = std::move(refusal);
}

}  // namespace Quarrow::Http
