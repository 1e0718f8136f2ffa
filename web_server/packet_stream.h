// Packets over a stream socket, each behind its length.
#ifndef QUARROW_WEB_SERVER_PACKET_STREAM_H_
#define QUARROW_WEB_SERVER_PACKET_STREAM_H_

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "server/deadline.h"

namespace Quarrow::WebServer {

// Puts a packet together from what comes. The sender is not trusted.
class PacketInlet {
 public:
  // A longer packet than `limit` is a broken stream.
  explicit PacketInlet(std::size_t limit) : limit_(limit) {}

  enum class State { incomplete, complete, broken };

  // Takes what there is of one packet, and does not wait. A stream that ended is broken.
  State take(int socket);

  // The packet, once it is complete; the next call of take() begins another one.
  std::string packet();

 private:
  bool knows_length() const;
  std::size_t missing() const;

  std::size_t limit_;
  std::string bytes_;  // the length, then the packet
};

// What is yet to be sent.
class PacketOutlet {
 public:
  void put(const std::string& packet);
  bool is_empty() const { return sent_ == bytes_.size(); }

  // Sends what the socket takes now. False when the other end is gone.
  bool send(int socket);

 private:
  std::string bytes_;
  std::size_t sent_ = 0;
};

// The same for a process that has nothing else to do meanwhile. False, or nothing, when `end` is
// past or the other end is gone.
bool send_packet(int socket, const std::string& packet, Server::Clock::time_point end);
std::optional<std::string> receive_packet(int socket, std::size_t limit,
                                          Server::Clock::time_point end);

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_PACKET_STREAM_H_
