// A packet for each look: a byte, so that none is empty, and what was found.
#include "monitoring/watch.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sysexits.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

#include "monitoring/limits.h"
#include "system/inheritance.h"

namespace Quarrow::Monitoring {
namespace {

using Server::Clock;

bool tell(const std::string& found) {
  const std::string packet = '.' + found.substr(0, longest_fault);
  return send(first_kept_descriptor, packet.data(), packet.size(), MSG_NOSIGNAL) >= 0;
}

[[noreturn]] void be_watch(int socket, pid_t parent, const Look& look,
                           std::chrono::milliseconds between) {
  (void)prctl(PR_SET_NAME, "quarrow-watch");  // for a list of processes
  if (prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) != 0 || getppid() != parent ||
      !drop_shared_memory() || !keep_descriptors({socket}))
    _exit(EX_OSERR);
  pollfd parents_end{first_kept_descriptor, POLLIN, 0};
  while (tell(look()))
    if (poll(&parents_end, 1, static_cast<int>(between.count())) != 0) break;
  _exit(EX_OK);
}

}  // namespace

Watch::Watch(const Look& look, const WatchPace& pace)
    : patience_(pace.between + pace.longest_look), heard_(Clock::now()) {
  int ends[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) _exit(EX_OSERR);
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process == 0) be_watch(ends[1], parent, look, pace.between);
  if (process < 0) _exit(EX_OSERR);
  (void)close(ends[1]);
  socket_ = ends[0];
}

Watch::~Watch() { (void)close(socket_); }

std::string Watch::fault() {
  std::array<char, 1 + longest_fault> packet{};
  ssize_t size = 0;
  while ((size = recv(socket_, packet.data(), packet.size(), MSG_DONTWAIT)) > 0) {
    found_.assign(packet.data() + 1, static_cast<std::size_t>(size) - 1);
    heard_ = Clock::now();
  }
  if (size == 0 || errno != EAGAIN) _exit(EX_SOFTWARE);
  return Clock::now() - heard_ > patience_ ? "a look for faults takes too long" : found_;
}

}  // namespace Quarrow::Monitoring
