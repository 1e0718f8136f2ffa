// The evaluator's end of the conversation with its helper process.
#include "quarrow/delivery/evaluator.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <optional>

#include "delivery/helper_process.h"
#include "delivery/script_file.h"
#include "delivery/wire.h"
#include "system/process_end.h"

namespace Quarrow::Delivery {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

Evaluation not_done(Evaluation::Outcome outcome, const std::string& reason) {
  Evaluation evaluation;
  evaluation.outcome = outcome;
  evaluation.reason = reason;
  return evaluation;
}

// Whether a packet, or the end of the connection, comes before `deadline`.
bool wait_for_input(int socket, Clock::time_point deadline) {
  pollfd waiting = {socket, POLLIN, 0};
  for (;;) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now()).count();
    const int ready =
        poll(&waiting, 1, static_cast<int>(std::clamp<decltype(left)>(left, 0, 1000)));
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) return false;
    if (left <= 0) return false;
  }
}

// Receives the next packet and gives its size; bytes beyond the limit are only counted. Negative as
// recv(2) is, with EAGAIN when no packet came in time.
ssize_t receive_packet(int socket, char* packet, Clock::time_point deadline) {
  for (;;) {
    const ssize_t count = recv(socket, packet, answer_limit, MSG_TRUNC);
    if (count >= 0 || errno != EINTR) return count;
    // A signal came; its handler may be the caller's. The time limit of the socket would start
    // anew.
    if (!wait_for_input(socket, deadline)) {
      errno = EAGAIN;
      return -1;
    }
  }
}

// Bounds each recv(2) on a socket.
bool set_time_limit(int socket, milliseconds time) {
  const auto bounded = std::max(time, milliseconds(1));  // 0 would be no limit
  const auto whole = std::chrono::duration_cast<std::chrono::seconds>(bounded);
  const timeval limit = {whole.count(), std::chrono::microseconds(bounded - whole).count()};
  return setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) == 0;
}

// How a helper ended, for a log.
std::string text_of(const ProcessEnd& end) {
  if (end.signal != 0) return "the evaluation was ended by signal " + std::to_string(end.signal);
  if (end.status == not_confined) return "the evaluation could not be confined";
  return "the evaluation ended with status " + std::to_string(end.status);
}

}  // namespace

Evaluator::Evaluator(const EvaluatorLimits& limits)
    : limits_(limits), packet_(new char[answer_limit]) {
  prepare_for_helpers();
  start();
}

Evaluator::~Evaluator() { (void)stop(); }

Evaluation Evaluator::evaluate(int message_fd, std::uint64_t size, std::time_t received,
                               const std::string& script_path) {
  const ScriptFile script = read_script(script_path, limits_.script_wait, std::time(nullptr));
  if (script.is_missing) return not_done(Evaluation::Outcome::no_script, script.reason);
  if (!script.found)
    return not_done(Evaluation::Outcome::bad_script, "can't be read: " + script.reason);
  const Request request = {++sequence_, size, received};
  if (!send_request(socket_, request, script.text, message_fd)) {
    // The helper died before this message, which another helper may well survive.
    replace();
    if (!send_request(socket_, request, script.text, message_fd))
      return failure("no evaluation could be started");
  }
  return receive();
}

void Evaluator::dismiss() {
  if (socket_ >= 0) (void)close(socket_);
  socket_ = -1;
  if (helper_ > 0) (void)kill(helper_, SIGKILL);
}

void Evaluator::start() {
  int ends[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return;
  if (set_time_limit(ends[0], limits_.time)) helper_ = start_helper(ends[1], limits_);
  (void)close(ends[1]);
  socket_ = ends[0];
  served_ = 0;
}

std::string Evaluator::stop() {
  dismiss();
  const ProcessEnd end = helper_ > 0 ? wait_for(helper_) : ProcessEnd();
  helper_ = -1;
  return text_of(end);
}

std::string Evaluator::replace() {
  const std::string ending = stop();
  start();
  return ending;
}

Evaluation Evaluator::failure(const std::string& reason) {
  const std::string ending = replace();
  return not_done(Evaluation::Outcome::failed, reason.empty() ? ending : reason);
}

Evaluation Evaluator::receive() {
  const ssize_t count = receive_packet(socket_, packet_.get(), Clock::now() + limits_.time);
  if (count < 0 && errno == EAGAIN)
    return failure("the evaluation took more than " + std::to_string(limits_.time.count()) + " ms");
  if (count <= 0) return failure("");
  const std::size_t length = static_cast<std::size_t>(count);
  const std::optional<Answer> answer =
      length <= answer_limit ? decode({packet_.get(), length}) : std::nullopt;
  if (!answer || answer->sequence != sequence_) return failure("the evaluation answered nonsense");
  if (++served_ >= limits_.messages || answer->growth > limits_.growth) replace();
  return answer->evaluation;
}

}  // namespace Quarrow::Delivery
