// Both ends are the same program: numbers travel as they are in memory.
#include "delivery/wire.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "system/packet.h"

namespace Quarrow::Delivery {
namespace {

using Outcome = Evaluation::Outcome;

// Room for one descriptor beside a packet (cmsg(3)).
union DescriptorSpace {
  char bytes[CMSG_SPACE(sizeof(int))];
  cmsghdr aligned;
};

// The form in which the system takes and gives a packet of two parts, with room for a descriptor.
msghdr system_form(iovec (&parts)[2], DescriptorSpace& space) {
  msghdr packet = {};
  packet.msg_iov = parts;
  packet.msg_iovlen = 2;
  packet.msg_control = space.bytes;
  packet.msg_controllen = sizeof space.bytes;
  return packet;
}

std::string packet_of(const Answer& answer) {
  const Evaluation& evaluation = answer.evaluation;
  PacketWriter writer;
  writer.number(answer.sequence);
  writer.number(answer.growth);
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

bool send_request(int socket, const Request& request, const std::string& script, int message_fd) {
  iovec parts[] = {{const_cast<Request*>(&request), sizeof request},
                   {const_cast<char*>(script.data()), script.size()}};
  DescriptorSpace space = {};
  const msghdr message = system_form(parts, space);
  cmsghdr* const head = CMSG_FIRSTHDR(&message);
  head->cmsg_level = SOL_SOCKET;
  head->cmsg_type = SCM_RIGHTS;
  head->cmsg_len = CMSG_LEN(sizeof message_fd);
  std::memcpy(CMSG_DATA(head), &message_fd, sizeof message_fd);
  for (;;) {
    const ssize_t sent = sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0 || errno != EINTR) return sent >= 0;
  }
}

int receive_request(int socket, Request& request, std::string& script) {
  std::array<char, script_limit> text;
  iovec parts[] = {{&request, sizeof request}, {text.data(), text.size()}};
  DescriptorSpace space = {};
  msghdr message = system_form(parts, space);
  ssize_t count = 0;
  do {
    count = recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
  } while (count < 0 && errno == EINTR);
  const cmsghdr* const head = CMSG_FIRSTHDR(&message);
  if (count < static_cast<ssize_t>(sizeof request) || head == nullptr) return -1;
  script.assign(text.data(), static_cast<std::size_t>(count) - sizeof request);
  int message_fd = -1;
  std::memcpy(&message_fd, CMSG_DATA(head), sizeof message_fd);
  return message_fd;
}

std::string encode(const Answer& answer) {
  std::string packet = packet_of(answer);
  if (packet.size() <= answer_limit) return packet;
  Answer shorter;
  shorter.sequence = answer.sequence;
  shorter.growth = answer.growth;
  shorter.evaluation.reason = "the result is too long";
  return packet_of(shorter);
}

std::optional<Answer> decode(std::string_view packet) {
  if (packet.size() > answer_limit) return std::nullopt;
  PacketReader reader(packet);
  Answer answer;
  answer.sequence = reader.number();
  answer.growth = reader.number();
  Evaluation& evaluation = answer.evaluation;
  evaluation.outcome =
      static_cast<Outcome>(reader.number(static_cast<std::uint64_t>(Outcome::failed)));
  evaluation.reason = reader.text();
  evaluation.rule = reader.text();
  evaluation.result.error = static_cast<int>(reader.number(SieveMatchResult::UNKNOWN));
  // The count needs no limit: reading ends with the packet.
  for (std::uint64_t left = reader.number(); left > 0 && !reader.failed(); --left)
    evaluation.result.actions.push_back(read_action(reader));
  if (!reader.at_end()) return std::nullopt;
  return answer;
}

}  // namespace Quarrow::Delivery
