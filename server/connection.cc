// Reading, writing and giving up.
#include "server/connection.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <vector>

#include "server/deadline.h"
#include "server/limits.h"

namespace Quarrow::Server {
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
  Conversation(int socket, Protocol& protocol, const StopSignal& stop)
      : socket_(socket), protocol_(protocol), stop_(stop) {}

  void run() {
    pace_.last_bytes = pace_.step_start = Clock::now();
    protocol_.greet();
    while (!protocol_.is_over()) {
      if (stop_.is_set() && !pace_.stopping) {
        pace_.stopping = true;
        protocol_.stop();
        continue;
      }
      wait();
    }
  }

 private:
  void wait() {
    int ready = -1;
    pace_.in_message = protocol_.is_in_message();
    switch (stop_.wait({socket_}, ready, deadline(pace_))) {
      case StopSignal::Wait::ready:
        return receive();
      case StopSignal::Wait::timed_out:
        return protocol_.time_out();
      case StopSignal::Wait::interrupted:
        return;
    }
  }

  void receive() {
    const ssize_t count = recv(socket_, block_.data(), block_.size(), 0);
    if (count < 0 && errno == EINTR) return;
    if (count <= 0) return protocol_.abandon();
    const std::size_t steps = protocol_.steps();
    protocol_.take(block_.data(), static_cast<std::size_t>(count));
    pace_.last_bytes = Clock::now();
    if (protocol_.steps() != steps) pace_.step_start = pace_.last_bytes;
  }

  const int socket_;
  Protocol& protocol_;
  const StopSignal& stop_;
  Pace pace_;
  std::vector<char> block_ = std::vector<char>(block_size);
};

}  // namespace

void converse(int socket, const NewProtocol& new_protocol, const StopSignal& stop) {
  const timeval patience{longest_reply_wait.count(), 0};
  (void)setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
  const auto protocol =
      new_protocol([socket](const std::string& bytes) { return send_all(socket, bytes); });
  Conversation(socket, *protocol, stop).run();
}

}  // namespace Quarrow::Server
