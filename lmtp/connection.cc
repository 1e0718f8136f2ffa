// Reading, writing and giving up.
#include "lmtp/connection.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <vector>

#include "lmtp/deadline.h"

namespace Quarrow::Lmtp {
namespace {

bool send_all(int socket, const std::string& text) {
  std::size_t sent = 0;
  while (sent < text.size()) {
    const ssize_t count = send(socket, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

class Conversation {
 public:
  Conversation(int socket, Handler& handler, const Limits& limits, const std::string& host_name,
               const StopSignal& stop)
      : socket_(socket),
        stop_(stop),
        session_(handler, limits, host_name,
                 [socket](const std::string& replies) { return send_all(socket, replies); }) {}

  void run() {
    pace_.last_bytes = pace_.step_start = Clock::now();
    session_.greet();
    while (!session_.is_over()) {
      if (stop_.is_set() && !pace_.stopping) {
        pace_.stopping = true;
        session_.stop();
        continue;
      }
      wait();
    }
  }

 private:
  void wait() {
    int ready = -1;
    pace_.in_message = session_.is_in_message();
    switch (stop_.wait({socket_}, ready, deadline(pace_))) {
      case StopSignal::Wait::ready:
        return receive();
      case StopSignal::Wait::timed_out:
        return session_.time_out();
      case StopSignal::Wait::interrupted:
        return;
    }
  }

  void receive() {
    const ssize_t count = recv(socket_, block_.data(), block_.size(), 0);
    if (count < 0 && errno == EINTR) return;
    if (count <= 0) return session_.abandon();
    const std::size_t steps = session_.steps();
    session_.take(block_.data(), static_cast<std::size_t>(count));
    pace_.last_bytes = Clock::now();
    if (session_.steps() != steps) pace_.step_start = pace_.last_bytes;
  }

  const int socket_;
  const StopSignal& stop_;
  Session session_;
  Pace pace_;
  std::vector<char> block_ = std::vector<char>(block_size);
};

}  // namespace

void converse(int socket, Handler& handler, const Limits& limits, const std::string& host_name,
              const StopSignal& stop) {
  const timeval patience{longest_reply_wait.count(), 0};
  (void)setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
  Conversation(socket, handler, limits, host_name, stop).run();
}

}  // namespace Quarrow::Lmtp
