// Lengths, then bytes, over sockets that may take or give a part.
#include "web_server/packet_stream.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "delivery/wire.h"

namespace Quarrow::WebServer {
namespace {

using Length = std::uint64_t;
constexpr std::size_t length_size = sizeof(Length);

Length length_in(const std::string& bytes) {
  Length length = 0;
  std::memcpy(&length, bytes.data(), length_size);
  return length;
}

}  // namespace

bool PacketInlet::knows_length() const { return bytes_.size() >= length_size; }

// Never more than one packet is read: what follows it stays in the socket.
std::size_t PacketInlet::missing() const {
  return knows_length() ? length_size + length_in(bytes_) - bytes_.size()
                        : length_size - bytes_.size();
}

PacketInlet::State PacketInlet::take(int socket) {
  std::array<char, 65536> block;
  for (;;) {
    if (knows_length() && length_in(bytes_) > limit_) return State::broken;
    if (missing() == 0) return State::complete;
    const ssize_t count =
        recv(socket, block.data(), std::min(missing(), block.size()), MSG_DONTWAIT);
    if (count > 0)
      bytes_.append(block.data(), static_cast<std::size_t>(count));
    else if (count == 0)
      return State::broken;
    else if (errno != EINTR)
      return errno == EAGAIN ? State::incomplete : State::broken;
  }
}

std::string PacketInlet::packet() {
  std::string packet = bytes_.substr(length_size);
  bytes_.clear();
  return packet;
}

void PacketOutlet::put(const std::string& packet) {
  const Length length = packet.size();
  bytes_.append(reinterpret_cast<const char*>(&length), length_size);
  bytes_ += packet;
}

bool PacketOutlet::send(int socket) {
  while (!is_empty()) {
    const ssize_t count =
        ::send(socket, bytes_.data() + sent_, bytes_.size() - sent_, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count >= 0)
      sent_ += static_cast<std::size_t>(count);
    else if (errno != EINTR)
      return errno == EAGAIN;
  }
  bytes_.clear();
  sent_ = 0;
  return true;
}

bool send_packet(int socket, const std::string& packet, Server::Clock::time_point end) {
  PacketOutlet outlet;
  outlet.put(packet);
  while (outlet.send(socket)) {
    if (outlet.is_empty()) return true;
    if (!Delivery::wait_until_ready(socket, POLLOUT, end)) return false;
  }
  return false;
}

std::optional<std::string> receive_packet(int socket, std::size_t limit,
                                          Server::Clock::time_point end) {
  PacketInlet inlet(limit);
  for (;;) {
    switch (inlet.take(socket)) {
      case PacketInlet::State::complete:
        return inlet.packet();
      case PacketInlet::State::broken:
        return std::nullopt;
      case PacketInlet::State::incomplete:
        if (!Delivery::wait_until_ready(socket, POLLIN, end)) return std::nullopt;
    }
  }
}

}  // namespace Quarrow::WebServer
