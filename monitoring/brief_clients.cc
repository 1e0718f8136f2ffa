// A list of conversations, of which that goes on whose client said something.
#include "monitoring/brief_clients.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "http/http_session.h"
#include "monitoring/limits.h"
#include "server/deadline.h"
#include "system/descriptor.h"

namespace Quarrow::Monitoring {
namespace {

using Server::Clock;
using Server::StopSignal;

// Of what a client sends behind its request.
constexpr int most_dropped_blocks = 16;

// After a connection that could not be taken, since the system has no room.
constexpr std::chrono::seconds pause_without_room{1};

Http::Limits limits() {
  Http::Limits limits;
  limits.requests = 1;
  limits.body = 1024;
  return limits;
}

class Client {
 public:
  Client(int socket, const Http::Handler& handler)
      : socket_(socket),
        session_(
            handler, limits(), [this](const std::string& bytes) { return send_at_once(bytes); },
            [] { return true; }) {
    session_.greet();
  }

  int socket() const { return socket_.get(); }
  Clock::time_point end() const { return end_; }
  bool is_over() const { return session_.is_over(); }

  // To be called when there is something to read.
  void go_on() {
    const ssize_t count = receive();
    if (count > 0) return session_.take(block_.data(), static_cast<std::size_t>(count));
    if (count == 0 || errno != EAGAIN) session_.abandon();
  }

  // Ends the conversation. The system takes an answer back when the socket is closed with unread
  // bytes in it.
  void leave() {
    session_.time_out();
    for (int block = 0; block < most_dropped_blocks; ++block)
      if (receive() <= 0) return;
  }

 private:
  ssize_t receive() { return recv(socket(), block_.data(), block_.size(), MSG_DONTWAIT); }

  bool send_at_once(const std::string& bytes) const {
    return send(socket(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) ==
           static_cast<ssize_t>(bytes.size());
  }

  const Descriptor socket_;
  const Clock::time_point end_ = Clock::now() + longest_visit;
  std::array<char, 4096> block_{};
  Http::Session session_;
};

class BriefClients {
 public:
  BriefClients(int listener, const Http::Handler& handler, const StopSignal& stop)
      : listener_(listener), handler_(handler), stop_(stop) {}

  void serve() {
    for (;;) {
      send_away();
      const bool takes_more = !stop_.is_set();
      if (!takes_more && clients_.empty()) return;
      int ready = -1;
      if (stop_.wait(awaited(takes_more), ready, first_end()) != StopSignal::Wait::ready) continue;
      if (ready == listener_)
        take_client();
      else
        client_at(ready).go_on();
    }
  }

 private:
  // Ends the conversations that are over, or have taken too long.
  void send_away() {
    const auto now = Clock::now();
    for (auto client = clients_.begin(); client != clients_.end();) {
      const bool leaves = client->is_over() || client->end() <= now;
      if (leaves) client->leave();
      client = leaves ? clients_.erase(client) : std::next(client);
    }
  }

  // Clients come first: one that has said something is not sent away for another one.
  std::vector<int> awaited(bool takes_more) const {
    std::vector<int> descriptors;
    for (const Client& client : clients_) descriptors.push_back(client.socket());
    if (takes_more) descriptors.push_back(listener_);
    return descriptors;
  }

  std::optional<Clock::time_point> first_end() const {
    return clients_.empty() ? std::nullopt : std::optional(clients_.front().end());
  }

  Client& client_at(int socket) {
    return *std::find_if(
        clients_.begin(), clients_.end(),
        [socket](const Client& client) { return client.socket() == socket; });
  }

  void take_client() {
    const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket >= 0) {
      clients_.emplace_back(socket, handler_);
      if (clients_.size() > most_clients) clients_.pop_front();
    } else if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) {
      int none = -1;
      (void)stop_.wait({}, none, Clock::now() + pause_without_room);
    }  // otherwise another monitor was faster, or the client is gone
  }

  const int listener_;
  const Http::Handler& handler_;
  const StopSignal& stop_;
  std::list<Client> clients_;  // the one that came first in front
};

}  // namespace

void serve_briefly(int listener, const Http::Handler& handler, const StopSignal& stop) {
  BriefClients(listener, handler, stop).serve();
}

}  // namespace Quarrow::Monitoring
