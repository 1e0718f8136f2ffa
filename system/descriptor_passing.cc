// Control messages with one descriptor (cmsg(3)).
#include "system/descriptor_passing.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <cerrno>
#include <cstring>

namespace Quarrow {
namespace {

// Room for one descriptor beside a packet.
union DescriptorSpace {
  char bytes[CMSG_SPACE(sizeof(int))];
  cmsghdr aligned;
};

// The form in which the system takes and gives a packet, with room for a descriptor.
msghdr system_form(iovec& contents, DescriptorSpace& space) {
  msghdr packet = {};
  packet.msg_iov = &contents;
  packet.msg_iovlen = 1;
  packet.msg_control = space.bytes;
  packet.msg_controllen = sizeof space.bytes;
  return packet;
}

}  // namespace

bool send_descriptor(int socket, std::int64_t number, int fd) {
  iovec contents = {&number, sizeof number};
  DescriptorSpace space = {};
  msghdr packet = system_form(contents, space);
  if (fd < 0) {
    packet.msg_controllen = 0;
  } else {
    cmsghdr* const head = CMSG_FIRSTHDR(&packet);
    head->cmsg_level = SOL_SOCKET;
    head->cmsg_type = SCM_RIGHTS;
    head->cmsg_len = CMSG_LEN(sizeof fd);
    std::memcpy(CMSG_DATA(head), &fd, sizeof fd);
  }
  for (;;) {
    const ssize_t sent = sendmsg(socket, &packet, MSG_NOSIGNAL);
    if (sent >= 0 || errno != EINTR) return sent >= 0;
  }
}

int receive_descriptor(int socket, std::int64_t& number) {
  iovec contents = {&number, sizeof number};
  DescriptorSpace space = {};
  msghdr packet = system_form(contents, space);
  ssize_t count = 0;
  do {
    count = recvmsg(socket, &packet, MSG_CMSG_CLOEXEC);
  } while (count < 0 && errno == EINTR);
  if (count != static_cast<ssize_t>(sizeof number)) number = -1;
  const cmsghdr* const head = CMSG_FIRSTHDR(&packet);
  if (count <= 0 || head == nullptr) return -1;
  int fd = -1;
  std::memcpy(&fd, CMSG_DATA(head), sizeof fd);
  return fd;
}

}  // namespace Quarrow
