// Requests and their replies.
#include "homes/socketmap_session.h"

#include <utility>

#include "homes/limits.h"
#include "server/log.h"

namespace Quarrow::Homes {

using State = NetstringReader::State;

SocketmapSession::SocketmapSession(AnswerRequest answer, Server::Output output,
                                   Server::OthersWait others_wait)
    : answer_(std::move(answer)),
      output_(std::move(output)),
      others_wait_(std::move(others_wait)),
      reader_(longest_request) {}

void SocketmapSession::take(const char* data, std::size_t size) {
  const std::size_t steps = steps_;
  while (size > 0 && !over_) {
    const std::size_t used = reader_.read(data, size);
    data += used;
    size -= used;
    if (reader_.state() == State::complete) answer_complete();
    if (reader_.state() == State::wrong) {
      Server::log_warning("a client sent no netstring, or one of more than " +
                          std::to_string(longest_request) + " bytes");
      flush();
      over_ = true;
    }
  }
  flush();
  const bool is_idle = steps_ != steps && reader_.state() == State::begin;
  if (is_idle && (stopping_ || others_wait_())) over_ = true;
}

void SocketmapSession::stop() {
  stopping_ = true;
  if (reader_.state() == State::begin) over_ = true;
}

void SocketmapSession::answer_complete() {
  replies_ += netstring(answer_(reader_.take_text()));
  ++steps_;
  if (replies_.size() >= most_replies) flush();
}

void SocketmapSession::flush() {
  if (!replies_.empty() && !over_ && !output_(replies_)) over_ = true;
  replies_.clear();
}

}  // namespace Quarrow::Homes
