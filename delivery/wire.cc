// Both ends are the same program: numbers travel as they are in memory.
#include "delivery/wire.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

#include "system/packet.h"

namespace Quarrow::Delivery {
namespace {

using Outcome = Evaluation::Outcome;

using Clock = std::chrono::steady_clock;

// What a packet of a request may hold beside its head. A socket takes some 200 KB at once.
constexpr std::size_t longest_piece = std::size_t{1} << 16U;

// The beginning of a request's first packet; the script and the header's beginning follow.
struct RequestHead {
  Request request;
  std::uint64_t script_size;
  std::uint64_t header_size;
};

Sending send_packet(int socket, iovec* parts, std::size_t count, Clock::time_point deadline) {
  msghdr packet = {};
  packet.msg_iov = parts;
  packet.msg_iovlen = count;
  for (;;) {
    if (sendmsg(socket, &packet, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) return Sending::done;
    if (errno == EINTR) continue;
    if (errno != EAGAIN) return Sending::nobody_there;
    if (!wait_until_ready(socket, POLLOUT, deadline)) return Sending::too_slow;
  }
}

iovec part(const void* data, std::size_t size) { return {const_cast<void*>(data), size}; }

iovec part(std::string_view text) { return part(text.data(), text.size()); }

// Receives a packet as recv(2) does.
ssize_t receive_packet(int socket, char* data, std::size_t size) {
  for (;;) {
    const ssize_t count = recv(socket, data, size, 0);
    if (count >= 0 || errno != EINTR) return count;
  }
}

std::string packet_of(const Answer& answer) {
  const Evaluation& evaluation = answer.evaluation;
  PacketWriter writer;
  writer.number(answer.sequence);
  writer.number(static_cast<std::uint64_t>(evaluation.outcome));
  writer.text(evaluation.reason);
  writer.text(evaluation.rule);
  writer.number(static_cast<std::uint64_t>(evaluation.result.error));
  writer.number(evaluation.result.actions.size());
  for (const SieveAction& action : evaluation.result.actions) {
    writer.number(action.type);
    writer.text(action.mailbox);
    writer.text(action.message);
  }
  writer.number(answer.value ? 1 : 0);
  writer.text(answer.value.value_or(""));
  return std::move(writer.packet());
}

SieveAction read_action(PacketReader& reader) {
  SieveAction action;
  action.type = static_cast<unsigned int>(reader.number(SieveAction::DISCARD));
  action.mailbox = reader.text();
  action.message = reader.text();
  return action;
}

}  // namespace

bool wait_until_ready(int socket, short events, Clock::time_point deadline) {
  pollfd waiting = {socket, events, 0};
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    const int ready =
        poll(&waiting, 1, static_cast<int>(std::clamp<decltype(left)>(left, 0, 1000)));
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) return false;
    if (left <= 0) return false;
  }
}

Sending send_request(int socket, const Request& request, std::string_view script,
                     std::string_view header, Clock::time_point deadline) {
  const RequestHead head = {request, script.size(), header.size()};
  iovec first[] = {part(&head, sizeof head), part(script), part(header.substr(0, longest_piece))};
  Sending sending = send_packet(socket, first, std::size(first), deadline);
  while (sending == Sending::done && header.size() > longest_piece) {
    header.remove_prefix(longest_piece);
    iovec piece = part(header.substr(0, longest_piece));
    sending = send_packet(socket, &piece, 1, deadline);
  }
  return sending;
}

bool receive_request(int socket, Request& request, std::string& script, std::string& header) {
  static std::array<char, sizeof(RequestHead) + script_limit + longest_piece> packet;
  const ssize_t count = receive_packet(socket, packet.data(), packet.size());
  RequestHead head;
  if (count < static_cast<ssize_t>(sizeof head)) return false;
  std::memcpy(&head, packet.data(), sizeof head);
  request = head.request;
  std::string_view rest(packet.data() + sizeof head, static_cast<std::size_t>(count) - sizeof head);
  script = rest.substr(0, head.script_size);
  header = rest.substr(script.size());
  while (header.size() < head.header_size) {
    const ssize_t more = receive_packet(socket, packet.data(), packet.size());
    if (more <= 0) return false;
    header.append(packet.data(), static_cast<std::size_t>(more));
  }
  return true;
}

std::string encode(const Answer& answer) {
  std::string packet = packet_of(answer);
  if (packet.size() <= answer_limit) return packet;
  Answer shorter;
  shorter.sequence = answer.sequence;
  shorter.evaluation.reason = "the result is too long";
  return packet_of(shorter);
}

std::optional<Answer> decode(std::string_view packet) {
  if (packet.size() > answer_limit) return std::nullopt;
  PacketReader reader(packet);
  Answer answer;
  answer.sequence = reader.number();
  Evaluation& evaluation = answer.evaluation;
  evaluation.outcome =
      static_cast<Outcome>(reader.number(static_cast<std::uint64_t>(Outcome::failed)));
  evaluation.reason = reader.text();
  evaluation.rule = reader.text();
  evaluation.result.error = static_cast<int>(reader.number(SieveMatchResult::UNKNOWN));
  // The count needs no limit: reading ends with the packet.
  for (std::uint64_t left = reader.number(); left > 0 && !reader.failed(); --left)
    evaluation.result.actions.push_back(read_action(reader));
  const bool has_value = reader.number(1) == 1;
  std::string value = reader.text();
  if (has_value) answer.value = std::move(value);
  if (!reader.at_end()) return std::nullopt;
  return answer;
}

}  // namespace Quarrow::Delivery
