// Setting a helper process up, and its loop over requests.
#include "delivery/helper_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "delivery/charset_preloading.h"
#include "delivery/execution_form.h"
#include "delivery/header_end.h"
#include "delivery/memory_use.h"
#include "delivery/sandbox.h"
#include "delivery/script_runner.h"
#include "delivery/wire.h"
#include "system/memory_file.h"

namespace Quarrow::Delivery {
namespace {

constexpr int helper_socket = 3;  // the first number after the standard descriptors

// Only the first call in a process gives true.
bool is_unprepared() {
  static bool prepared = false;
  return !std::exchange(prepared, true);
}

void prepare_with(const std::vector<const char*>& charsets) {
  tzset();
  load_charsets(charsets);
  (void)execution_form("");  // learns the shape of our scripts
}

// The first evaluation sets up data that later evaluations use.
void evaluate_once() {
  const MemoryFile script;
  const MemoryFile message;
  (void)ScriptRunner(script, 1).run("keep;", message.fd(), 0, 0);
}

bool use_dev_null() {
  const int null = open("/dev/null", O_RDWR);
  if (null < 0) return false;
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
    if (dup2(null, fd) < 0) return false;
  return true;
}

// Leaves only the socket, as `helper_socket`, and the standard descriptors, which lead nowhere.
bool shed_descriptors(int socket) {
  // Two steps, since the socket's number may be one of those that are given away.
  const int kept = fcntl(socket, F_DUPFD, helper_socket + 1);
  if (kept < 0 || !use_dev_null() || dup2(kept, helper_socket) < 0) return false;
  return close_range(helper_socket + 1, ~0U, 0) == 0;
}

// The helper ends with its evaluator, and not by a signal that is meant for the evaluator: a server
// that is told to stop first finishes the messages that it is working on.
bool live_and_die_with(pid_t parent) {
  struct sigaction ignoring = {};
  ignoring.sa_handler = SIG_IGN;
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM, SIGPIPE})
    (void)sigaction(signal, &ignoring, nullptr);
  return prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) == 0 && getppid() == parent;
}

// Takes the next request. False when no more requests will come.
bool evaluate_next(ScriptRunner& runner, Answer& answer) {
  Request request = {};
  std::string script;
  const Descriptor message(receive_request(helper_socket, request, script));
  if (message.get() < 0) return false;
  answer.sequence = request.sequence;
  answer.evaluation = runner.run(script, message.get(), request.size, request.received);
  return true;
}

void serve(int statm, ScriptRunner& runner) {
  // The memory that the server had at the fork counts as the helper's, too.
  const std::uint64_t size_at_start = memory_use(statm).resident;
  Answer answer;
  while (evaluate_next(runner, answer)) {
    const std::uint64_t size = memory_use(statm).resident;
    answer.growth = size - std::min(size, size_at_start);
    const std::string packet = encode(answer);
    if (send(helper_socket, packet.data(), packet.size(), MSG_NOSIGNAL) < 0) return;
  }
}

[[noreturn]] void be_helper(int socket, pid_t parent, const EvaluatorLimits& limits) {
  if (!live_and_die_with(parent) || !shed_descriptors(socket)) _exit(not_confined);
  const MemoryFile script_file;
  const Descriptor statm(open("/proc/self/statm", O_RDONLY | O_CLOEXEC));
  const Confinement confinement = {helper_socket, script_file.fd(), statm.get() + 1, limits.memory,
                                   script_limit};
  if (script_file.fd() < 0 || statm.get() < 0 || !confine(confinement)) _exit(not_confined);
  ScriptRunner runner(script_file, limits.cached_scripts);
  serve(statm.get(), runner);
  _exit(0);
}

}  // namespace

void prepare_for_helpers() {
  if (!is_unprepared()) return;
  prepare_with(all_charsets());
  evaluate_once();
}

void prepare_for_message(std::string_view message) {
  if (is_unprepared()) prepare_with(charsets_for(header_of(message)));
}

pid_t start_helper(int socket, const EvaluatorLimits& limits) {
  const pid_t parent = getpid();
  const pid_t helper = fork();
  if (helper != 0) return helper;
  // A message may do anything to a helper, but throwing through main() is no way to end one.
  try {
    be_helper(socket, parent, limits);
  } catch (...) {
    std::abort();
  }
}

}  // namespace Quarrow::Delivery
