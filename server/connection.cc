// Reading, writing and giving up.
#include "server/connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "server/limits.h"

namespace Quarrow::Server {
namespace {

// Of a client that is turned away.
constexpr int most_dropped_blocks = 16;

class Conversation {
 public:
  Conversation(int socket, const NewProtocol& new_protocol, const StopSignal& stop,
               const Courtesy& courtesy)
      : socket_(socket),
        stop_(stop),
        courtesy_(courtesy),
        protocol_(new_protocol([this](const std::string& bytes) { return send_all(bytes); },
                               courtesy.others_wait)) {}

  void run() {
    pace_.last_bytes = pace_.step_start = Clock::now();
    protocol_->greet();
    while (!protocol_->is_over()) {
      if (stop_.is_set() && !pace_.stopping) {
        pace_.stopping = true;
        protocol_->stop();
        continue;
      }
      go_on();
    }
  }

  // The system takes an answer back when the socket is closed with unread bytes in it. What comes
  // later is not waited for.
  void turn_away() {
    protocol_->give_way();
    (void)shutdown(socket_, SHUT_WR);
    for (int block = 0; block < most_dropped_blocks; ++block)
      if (recv(socket_, block_.data(), block_.size(), MSG_DONTWAIT) <= 0) return;
  }

 private:
  void go_on() {
    const auto start = Clock::now();
    const auto end = deadline(pace_, courtesy_.patience);
    if (start >= end) return protocol_->time_out();
    const auto waited = pace_.for_bytes + pace_.for_room;
    if (is_in_the_way(waited)) return protocol_->give_way();
    int ready = -1;
    const auto look = next_look(waited, courtesy_.patience, start);
    const auto wait = stop_.wait({socket_}, ready, std::min(end, look));
    pace_.for_bytes += Clock::now() - start;
    if (wait == StopSignal::Wait::ready) receive();
  }

  bool is_in_the_way(Clock::duration waited) const {
    return is_slow(waited, courtesy_.patience) && courtesy_.others_wait();
  }

  void receive() {
    const ssize_t count = recv(socket_, block_.data(), block_.size(), 0);
    if (count < 0 && errno == EINTR) return;
    if (count <= 0) return protocol_->abandon();
    const std::size_t steps = protocol_->steps();
    protocol_->take(block_.data(), static_cast<std::size_t>(count));
    pace_.last_bytes = Clock::now();
    if (protocol_->steps() == steps) return;
    pace_.step_start = pace_.last_bytes;
    pace_.for_bytes = pace_.for_room = Clock::duration::zero();
  }

  // False when the client is gone, or does not take the bytes in time.
  bool send_all(const std::string& text) {
    std::size_t sent = 0;
    while (sent < text.size()) {
      const ssize_t count =
          send(socket_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
      if (count >= 0) {
        sent += static_cast<std::size_t>(count);
        continue;
      }
      if (errno == EINTR) continue;
      if (errno != EAGAIN || !wait_for_room()) return false;
    }
    return true;
  }

  // False when the client is given up.
  bool wait_for_room() {
    const auto start = Clock::now();
    const auto end = answer_deadline(pace_, courtesy_.patience, start);
    if (start >= end || is_in_the_way(pace_.for_room)) return false;
    pollfd polled{socket_, POLLOUT, 0};
    const auto look = next_look(pace_.for_room, courtesy_.patience, start);
    const timespec timeout = time_until(std::min(end, look));
    (void)ppoll(&polled, 1, &timeout, nullptr);  // the next try to send tells what happened
    pace_.for_room += Clock::now() - start;
    return true;
  }

  const int socket_;
  const StopSignal& stop_;
  const Courtesy& courtesy_;
  Pace pace_;
  const std::unique_ptr<Protocol> protocol_;
  std::vector<char> block_ = std::vector<char>(block_size);
};

}  // namespace

void converse(int socket, const NewProtocol& new_protocol, const StopSignal& stop,
              const Courtesy& courtesy) {
  Conversation(socket, new_protocol, stop, courtesy).run();
}

void turn_away(int socket, const NewProtocol& new_protocol, const StopSignal& stop,
               const Courtesy& courtesy) {
  Conversation(socket, new_protocol, stop, courtesy).turn_away();
}

}  // namespace Quarrow::Server
