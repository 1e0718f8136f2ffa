// The evaluator's end of the conversation with its helper process.
#include "quarrow/delivery/evaluator.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <utility>

#include "delivery/header_end.h"
#include "delivery/helper_process.h"
#include "delivery/helper_supply.h"
#include "delivery/memory_use.h"
#include "delivery/script_file.h"
#include "delivery/wire.h"

namespace Quarrow::Delivery {
namespace {

using Clock = std::chrono::steady_clock;

// Rules see no more of a header. It bounds what a message of headers alone takes of the caller's
// memory.
constexpr std::size_t longest_header = std::size_t{16} << 20U;

Evaluation not_done(Evaluation::Outcome outcome, const std::string& reason) {
  Evaluation evaluation;
  evaluation.outcome = outcome;
  evaluation.reason = reason;
  return evaluation;
}

Answer failed_answer(const std::string& reason) {
  Answer answer;
  answer.evaluation = not_done(Evaluation::Outcome::failed, reason);
  return answer;
}

// Receives the next packet and gives its size; bytes beyond the limit are only counted. Negative as
// recv(2) is, with EAGAIN when no packet came in time.
ssize_t receive_packet(int socket, char* packet, Clock::time_point deadline) {
  for (;;) {
    const ssize_t count = recv(socket, packet, answer_limit, MSG_TRUNC);
    if (count >= 0 || errno != EINTR) return count;
    // A signal came; its handler may be the caller's. The time limit of the socket would start
    // anew.
    if (!wait_until_ready(socket, POLLIN, deadline)) {
      errno = EAGAIN;
      return -1;
    }
  }
}

}  // namespace

Evaluator::Evaluator(const EvaluatorLimits& limits)
    : limits_(limits), packet_(new char[answer_limit]) {
  prepare_for_helpers();
  supply_ = std::make_unique<HelperSupply>(limits_);
  start();
}

Evaluator::~Evaluator() {
  try {
    (void)stop();
  } catch (const std::bad_alloc&) {  // in the text, which nobody wants here
  }
}

Evaluation Evaluator::evaluate(int message_fd, std::uint64_t size, std::time_t received,
                               const std::string& script_path) {
  const ScriptFile script = read_script(script_path, limits_.script_wait, std::time(nullptr));
  if (script.is_missing) return not_done(Evaluation::Outcome::no_script, script.reason);
  if (!script.found)
    return not_done(Evaluation::Outcome::bad_script, "can't be read: " + script.reason);
  return evaluate_script(message_fd, size, received, script.text);
}

Evaluation Evaluator::evaluate_script(int message_fd, std::uint64_t size, std::time_t received,
                                      const std::string& script) {
  return ask(message_fd, {0, size, received}, script).evaluation;
}

HeaderValue Evaluator::header_value(int message_fd, std::time_t received, const std::string& name) {
  const Answer answer = ask(message_fd, {0, 0, received, Request::Kind::header_value}, name);
  return {answer.evaluation.outcome == Evaluation::Outcome::done, answer.value,
          answer.evaluation.reason};
}

Answer Evaluator::ask(int message_fd, Request request, std::string_view text) {
  const auto read = read_header(message_fd, longest_header);
  if (!read)
    return failed_answer(std::string("the message can't be read: ") + std::strerror(errno));
  const std::string_view header = header_of(*read);
  text = text.substr(0, script_limit);
  request.sequence = ++sequence_;
  const auto deadline = Clock::now() + limits_.time;
  if (socket_ < 0) start();
  Sending sending = send_request(socket_, request, text, header, deadline);
  if (sending == Sending::nobody_there) {
    // The helper died before this message, which another helper may well survive.
    (void)stop();
    start();
    sending = send_request(socket_, request, text, header, deadline);
  }
  switch (sending) {
    case Sending::done:
      return receive(deadline);
    case Sending::too_slow:
      return too_slow();
    case Sending::nobody_there:
      break;
  }
  const std::string& fault = supply_->fault();
  return failure(fault.empty() ? "no evaluation could be started" : fault);
}

void Evaluator::dismiss() {
  if (socket_ >= 0) (void)close(socket_);
  socket_ = -1;
  memory_.reset();
  if (helper_ >= 0) (void)kill(helper_, SIGKILL);
}

// The old helper was dismissed at the end of its last message, mostly, and is gone by now.
void Evaluator::start() {
  (void)stop();
  const Helper helper = supply_->take();
  helper_ = helper.process;
  socket_ = helper.socket;
  served_ = 0;
  if (helper_ >= 0 && limits_.messages > 1) memory_ = std::make_unique<MemoryWatch>(helper_);
}

std::string Evaluator::stop() {
  dismiss();
  return text_of_end(std::exchange(helper_, -1));
}

Answer Evaluator::failure(const std::string& reason) {
  const std::string ending = stop();
  supply_->order();
  return failed_answer(reason.empty() ? ending : reason);
}

Answer Evaluator::too_slow() {
  return failure("the evaluation took more than " + std::to_string(limits_.time.count()) + " ms");
}

Answer Evaluator::receive(Clock::time_point deadline) {
  const ssize_t count = receive_packet(socket_, packet_.get(), deadline);
  if (count < 0 && errno == EAGAIN) return too_slow();
  if (count <= 0) return failure("");
  const std::size_t length = static_cast<std::size_t>(count);
  const std::optional<Answer> answer =
      length <= answer_limit ? decode({packet_.get(), length}) : std::nullopt;
  if (!answer || answer->sequence != sequence_) return failure("the evaluation answered nonsense");
  if (++served_ >= limits_.messages || (memory_ && memory_->has_grown_by(limits_.growth))) {
    dismiss();
    supply_->order();
  }
  return *answer;
}

}  // namespace Quarrow::Delivery
