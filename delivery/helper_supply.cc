// Forking helpers, or having them made.
#include "delivery/helper_supply.h"

#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <utility>

#include "delivery/helper_process.h"
#include "system/descriptor_passing.h"
#include "system/process_end.h"

namespace Quarrow::Delivery {
namespace {

// A helper is made in less than a millisecond; a maker that was stopped must not stop the caller.
constexpr std::chrono::seconds longest_making{10};

// Two ends of a connection of packets; negative on failure.
std::pair<int, int> connection() {
  int ends[2] = {-1, -1};
  (void)socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends);
  return {ends[0], ends[1]};
}

void close_if_open(int fd) {
  if (fd >= 0) (void)close(fd);
}

}  // namespace

HelperSupply::HelperSupply(const EvaluatorLimits& limits) : limits_(limits) {
  if (limits_.made_ahead) (void)start_maker();  // a start that failed is tried again by take()
}

HelperSupply::~HelperSupply() { end_maker(); }

void HelperSupply::order() {
  if (maker_ < 0 || std::exchange(ordered_, true)) return;
  order_helper(control_);
}

Helper HelperSupply::take() {
  fault_.clear();
  if (!limits_.made_ahead) return fork_helper();
  // The maker may have been killed; another one is made of this process as it is now.
  for (int makers = 0; makers < 2; ++makers) {
    if (maker_ < 0 && !start_maker()) return {};
    order();
    ordered_ = false;
    const Helper helper = receive();
    if (helper.process >= 0) return helper;
    end_maker();
  }
  return {};
}

Helper HelperSupply::fork_helper() const {
  const auto [kept, given] = connection();
  Helper helper = {-1, kept};
  if (kept >= 0 && set_time_limit(kept, limits_.time))
    helper.process = start_helper(given, limits_);
  close_if_open(given);
  if (helper.process >= 0) return helper;
  close_if_open(kept);
  return {};
}

bool HelperSupply::start_maker() {
  const auto [kept, given] = connection();
  if (kept < 0) return false;
  maker_ = start_helper_maker(given, limits_);
  (void)close(given);
  if (maker_ < 0 || !set_time_limit(kept, longest_making)) {
    (void)close(kept);
    return false;
  }
  control_ = kept;
  ordered_ = true;  // it makes the first one unasked
  return true;
}

void HelperSupply::end_maker() {
  if (maker_ < 0) return;
  // A helper that was made and not taken is a child of this process nevertheless.
  (void)shutdown(control_, SHUT_WR);
  for (Helper left = receive(); left.process >= 0; left = receive()) {
    (void)close(left.socket);
    (void)kill(left.process, SIGKILL);
    (void)wait_for(left.process);
  }
  (void)close(control_);
  (void)kill(maker_, SIGKILL);
  fault_ = text_of_end(maker_);
  maker_ = -1;
}

Helper HelperSupply::receive() const {
  std::int64_t process = -1;
  const int socket = receive_descriptor(control_, process);
  if (socket >= 0 && process >= 0) return {static_cast<pid_t>(process), socket};
  close_if_open(socket);
  return {};
}

std::string text_of_end(pid_t process) {
  const ProcessEnd end = process >= 0 ? wait_for(process) : ProcessEnd();
  if (end.signal != 0) return "the evaluation was ended by signal " + std::to_string(end.signal);
  if (end.status == not_confined) return "the evaluation could not be confined";
  return "the evaluation ended with status " + std::to_string(end.status);
}

}  // namespace Quarrow::Delivery
