// Setting a helper process up, and its loop over requests.
#include "delivery/helper_process.h"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>

#include "delivery/charset_preloading.h"
#include "delivery/execution_form.h"
#include "delivery/header_end.h"
#include "delivery/header_value.h"
#include "delivery/sandbox.h"
#include "delivery/script_runner.h"
#include "delivery/wire.h"
#include "system/descriptor.h"
#include "system/descriptor_passing.h"
#include "system/inheritance.h"
#include "system/memory_file.h"

namespace Quarrow::Delivery {
namespace {

// The descriptors of a helper: the first numbers after the standard ones.
constexpr int helper_socket = first_kept_descriptor;
constexpr int helper_file = helper_socket + 1;

// Making it takes a millisecond.
const SystemCallFilter& system_call_filter() {
  static const SystemCallFilter filter(helper_socket, helper_file);
  return filter;
}

// Only the first call in a process gives true.
bool is_unprepared() {
  static bool prepared = false;
  return !std::exchange(prepared, true);
}

void prepare_with(const NeededCharsets& charsets) {
  tzset();
  load_charsets(charsets);
  (void)execution_form("");  // learns the shape of our scripts
}

// The first evaluation sets up data that later evaluations use.
void evaluate_once() {
  const MemoryFile script;
  (void)ScriptRunner(script, 1).run("keep;", "", 0, 0);
}

// The process ends with its evaluator, and not by a signal that is meant for the evaluator: a
// server that is told to stop first finishes the messages that it is working on.
void ignore_signals() {
  struct sigaction ignoring = {};
  ignoring.sa_handler = SIG_IGN;
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM, SIGPIPE})
    (void)sigaction(signal, &ignoring, nullptr);
}

bool die_with(pid_t evaluator) {
  return prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) == 0 && getppid() == evaluator;
}

// All that a new process of an evaluator gives up once and for all, for itself and for the
// processes that it makes. A message that has taken the helper over must not find memory that
// others see.
bool leave_everything(int socket, pid_t evaluator, const EvaluatorLimits& limits) {
  ignore_signals();
  return die_with(evaluator) && drop_shared_memory() && keep_descriptors({socket}) &&
         confine(limits.memory, script_limit);
}

// Takes the next request. False when no more requests will come.
bool evaluate_next(ScriptRunner& runner, Answer& answer) {
  Request request = {};
  std::string script;
  std::string header;
  if (!receive_request(helper_socket, request, script, header)) return false;
  answer = {};
  answer.sequence = request.sequence;
  if (request.kind == Request::Kind::header_value) {
    answer.evaluation.outcome = Evaluation::Outcome::done;
    answer.value = header_value(script, header, request.received);
  } else {
    answer.evaluation = runner.run(script, header, request.size, request.received);
  }
  return true;
}

void serve(ScriptRunner& runner) {
  Answer answer;
  while (evaluate_next(runner, answer)) {
    const std::string packet = encode(answer);
    if (send(helper_socket, packet.data(), packet.size(), MSG_NOSIGNAL) < 0) return;
  }
}

[[noreturn]] void be_helper(const EvaluatorLimits& limits) {
  (void)prctl(PR_SET_NAME, "quarrow-helper");             // for a list of processes
  const SystemCallFilter& filter = system_call_filter();  // first, since it opens a file
  const MemoryFile script_file;
  if (script_file.fd() != helper_file || !filter.apply()) _exit(not_confined);
  ScriptRunner runner(script_file, limits.cached_scripts);
  serve(runner);
  _exit(0);
}

// A message may do anything to a helper, but throwing through main() is no way to end one.
template <typename Work>
[[noreturn]] void end_with(const Work& work) {
  try {
    work();
  } catch (...) {
  }
  std::abort();
}

// A process with the parent of this one, for which fork(2) has no way. No thread is there, and no
// function waits for a fork.
pid_t fork_sibling() {
  return static_cast<pid_t>(syscall(SYS_clone, CLONE_PARENT | SIGCHLD, nullptr, 0, 0, 0));
}

// Becomes a helper in a process that the maker made.
[[noreturn]] void start_work(int socket, pid_t evaluator, const EvaluatorLimits& limits) {
  if (!die_with(evaluator) || dup2(socket, helper_socket) < 0 ||
      close_range(helper_socket + 1, ~0U, 0) != 0)
    _exit(not_confined);
  be_helper(limits);
}

// Makes a helper and sends it off. False when the evaluator is gone.
bool make_helper(pid_t evaluator, const EvaluatorLimits& limits) {
  int ends[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
    return send_descriptor(helper_socket, -1, -1);
  const Descriptor kept(ends[0]);
  const Descriptor given(ends[1]);
  if (!set_time_limit(kept.get(), limits.time)) return send_descriptor(helper_socket, -1, -1);
  const pid_t helper = fork_sibling();
  if (helper == 0) start_work(given.get(), evaluator, limits);
  return send_descriptor(helper_socket, helper, kept.get());
}

bool wait_for_order() {
  std::int64_t number = 0;
  (void)receive_descriptor(helper_socket, number);
  return number >= 0;
}

[[noreturn]] void be_maker(int control, pid_t evaluator, const EvaluatorLimits& limits) {
  (void)prctl(PR_SET_NAME, "quarrow-maker");
  if (!leave_everything(control, evaluator, limits)) _exit(not_confined);
  (void)system_call_filter();
  while (make_helper(evaluator, limits) && wait_for_order()) continue;
  _exit(0);
}

}  // namespace

void prepare_for_helpers() {
  if (!is_unprepared()) return;
  prepare_with({all_charsets(), true});
  evaluate_once();
  (void)system_call_filter();
}

void prepare_for_message(std::string_view message) {
  if (is_unprepared()) prepare_with(charsets_for(header_of(message)));
}

pid_t start_helper(int socket, const EvaluatorLimits& limits) {
  const pid_t evaluator = getpid();
  const pid_t helper = fork();
  if (helper != 0) return helper;
  end_with([&] {
    if (!leave_everything(socket, evaluator, limits)) _exit(not_confined);
    be_helper(limits);
  });
}

pid_t start_helper_maker(int control, const EvaluatorLimits& limits) {
  const pid_t evaluator = getpid();
  const pid_t maker = fork();
  if (maker != 0) return maker;
  end_with([&] { be_maker(control, evaluator, limits); });
}

void order_helper(int control) { (void)send_descriptor(control, 1, -1); }

bool set_time_limit(int socket, std::chrono::milliseconds time) {
  const auto bounded = std::max(time, std::chrono::milliseconds(1));  // 0 would be no limit
  const auto whole = std::chrono::duration_cast<std::chrono::seconds>(bounded);
  const timeval limit = {whole.count(), std::chrono::microseconds(bounded - whole).count()};
  return setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) == 0;
}

}  // namespace Quarrow::Delivery
