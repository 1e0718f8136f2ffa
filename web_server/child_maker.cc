// A loop that forks, and what a child does.
#include "web_server/child_maker.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <exception>
#include <system_error>
#include <utility>

#include "server/log.h"
#include "system/descriptor_passing.h"
#include "system/packet.h"
#include "web_server/broker_call.h"
#include "web_server/limits.h"
#include "web_server/packet_stream.h"

namespace Quarrow::WebServer {
namespace {

// The descriptor of the maker that leads to the broker, and that of a child.
constexpr int own_socket = 3;

// Leaves only the socket, as `own_socket`, and the standard descriptors.
bool shed_descriptors(int socket) {
  return (socket == own_socket || dup2(socket, own_socket) == own_socket) &&
         close_range(own_socket + 1, ~0U, 0) == 0;
}

std::string answer_to(const Call& call, const Jobs& jobs) {
  if (call.kind != Call::Kind::sign_in) return encode(jobs.work(call.user, call.request));
  PacketWriter writer;
  writer.number(static_cast<std::uint64_t>(jobs.check_password(call.user, call.password)));
  return writer.packet();
}

// A broker that is gone ends nobody any more: the alarm does.
[[noreturn]] void be_child(int socket, const Jobs& jobs, std::chrono::milliseconds time) {
  (void)prctl(PR_SET_NAME, "quarrow-call");  // for a list of processes
  const rlimit no_core = {0, 0};
  (void)setrlimit(RLIMIT_CORE, &no_core);  // without it there is a core file at worst
  (void)std::signal(SIGCHLD, SIG_DFL);
  const auto seconds = std::chrono::ceil<std::chrono::seconds>(time);
  (void)alarm(static_cast<unsigned>(seconds.count()));
  if (!shed_descriptors(socket)) _exit(1);
  const auto end = Server::Clock::now() + time;
  const auto packet = receive_packet(own_socket, SIZE_MAX, end);
  const auto call = packet ? decode_call(*packet) : std::nullopt;
  if (!call) _exit(1);
  _exit(send_packet(own_socket, answer_to(*call, jobs), end) ? 0 : 1);
}

// Whoever lets an exception out of a child would have it go on as a maker.
[[noreturn]] void start_child(int socket, const Jobs& jobs, std::chrono::milliseconds time) {
  try {
    be_child(socket, jobs, time);
  } catch (...) {
    _exit(1);
  }
}

void make_child(int socket, const Jobs& jobs, std::chrono::milliseconds time) {
  const pid_t child = fork();
  if (child == 0) start_child(socket, jobs, time);
  // It waits for its call, and so is there still.
  const Descriptor process(child > 0 ? static_cast<int>(syscall(SYS_pidfd_open, child, 0)) : -1);
  (void)send_descriptor(own_socket, child, process.get());
}

// What can't be loaded here could not be loaded by a child.
void run(const std::function<void()>& prepare) {
  try {
    prepare();
  } catch (const std::exception& error) {
    Server::log_error(error.what());
    _exit(1);
  }
}

// Signals that are meant for the server leave the maker alone: it ends with the broker.
[[noreturn]] void be_maker(int control, const std::function<void()>& prepare, const Jobs& jobs,
                           std::chrono::milliseconds time) {
  (void)prctl(PR_SET_NAME, "quarrow-maker");
  for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGUSR1, SIGPIPE})
    (void)std::signal(signal, SIG_IGN);
  (void)std::signal(SIGCHLD, SIG_IGN);  // nobody asks how children ended
  if (!shed_descriptors(control)) _exit(1);
  run(prepare);
  for (;;) {
    std::int64_t order = 0;
    const Descriptor socket(receive_descriptor(own_socket, order));
    if (order < 0) _exit(0);
    if (socket.get() >= 0) make_child(socket.get(), jobs, time);
  }
}

[[noreturn]] void throw_error_of(const char* call) {
  throw std::system_error(errno, std::generic_category(), call);
}

// Gives the end of a connection to the process.
std::unique_ptr<Descriptor> start_maker(const std::function<void()>& prepare, const Jobs& jobs,
                                        std::chrono::milliseconds time) {
  int ends[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
    throw_error_of("socketpair");
  auto control = std::make_unique<Descriptor>(ends[0]);
  const Descriptor given(ends[1]);
  const pid_t maker = fork();
  if (maker < 0) throw_error_of("fork");
  if (maker == 0) be_maker(given.get(), prepare, jobs, time);
  return control;
}

}  // namespace

ChildMaker::ChildMaker(const Jobs& jobs, std::chrono::milliseconds time) {
  std::vector<Preparation> preparations = jobs.preparations;
  preparations.push_back({[](const Call& /*call*/) { return true; }, [] {}});
  for (const auto& [suits, prepare] : preparations)
    makers_.push_back({suits, start_maker(prepare, jobs, time)});
}

std::optional<Child> ChildMaker::make(const Call& call) const {
  const int control = std::find_if(makers_.begin(), makers_.end(), [&call](const Maker& maker) {
                        return maker.suits(call);
                      })->control->get();  // the last one suits every call
  int ends[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return std::nullopt;
  auto connection = std::make_unique<Descriptor>(ends[0]);
  const Descriptor given(ends[1]);
  std::int64_t number = -1;
  if (!send_descriptor(control, 0, given.get())) return std::nullopt;
  auto process = std::make_unique<Descriptor>(receive_descriptor(control, number));
  if (process->get() < 0) return std::nullopt;
  return Child{std::move(connection), std::move(process)};
}

bool ChildMaker::is_gone() const {
  return std::any_of(
      makers_.begin(), makers_.end(),
      [](const Maker& maker) {
        pollfd polled = {maker.control->get(), 0, 0};
        return poll(&polled, 1, 0) > 0;
      });
}

}  // namespace Quarrow::WebServer
