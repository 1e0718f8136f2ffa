// One call at a time over one socket.
#include "web_server/caller.h"

#include <sys/socket.h>

#include <optional>
#include <string>

#include "system/descriptor_passing.h"
#include "web_server/packet_stream.h"
#include "web_server/replies.h"

namespace Quarrow::WebServer {
namespace {

// Beyond the time of a call, for a broker that has much to do.
constexpr std::chrono::seconds indulgence{10};

// A connection to the broker; negative without one.
int connect_over(int introductions) {
  int ends[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return -1;
  const Descriptor given(ends[1]);
  if (send_descriptor(introductions, 0, given.get())) return ends[0];
  (void)close(ends[0]);
  return -1;
}

}  // namespace

Caller::Caller(int introductions, const Limits& limits)
    : limits_(limits), socket_(connect_over(introductions)) {}

Http::Response Caller::ask(const Call& call) {
  const auto end = Server::Clock::now() + limits_.time + indulgence;
  std::optional<std::string> packet;
  if (!is_broken_ && send_packet(socket_.get(), encode(call), end))
    packet = receive_packet(socket_.get(), limits_.answer, end);
  const auto response = packet ? decode_response(*packet) : std::nullopt;
  if (response) return *response;
  is_broken_ = true;  // an answer that comes late must not be taken for that of the next call
  return passing_problem(503, "The server is about to stop. Try again in a moment.");
}

}  // namespace Quarrow::WebServer
