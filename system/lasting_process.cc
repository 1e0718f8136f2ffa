// Two forks: the process in between ends at once, so that nobody has to wait for the second one.
#include "system/lasting_process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/packet.h"
#include "system/process_end.h"

namespace Quarrow {
namespace {

// The end of the pipe for the report: the first number behind the standard ones.
constexpr int report_pipe = 3;

constexpr int lower_priority = 10;

// Leaves the pipe, as `report_pipe`, and standard descriptors that lead nowhere.
bool shed_descriptors(int pipe) {
  const int kept = fcntl(pipe, F_DUPFD, report_pipe + 1);
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (kept < 0 || null < 0) return false;
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
    if (dup2(null, fd) < 0) return false;
  return dup2(kept, report_pipe) == report_pipe && close_range(report_pipe + 1, ~0U, 0) == 0;
}

void answer_signals() {
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM, SIGCHLD})
    (void)std::signal(signal, SIG_DFL);
  (void)std::signal(SIGPIPE, SIG_IGN);  // whoever waits for the report may be gone
  sigset_t none;
  (void)sigemptyset(&none);
  (void)sigprocmask(SIG_SETMASK, &none, nullptr);
}

void report(const std::string& text) {
  PacketWriter writer;
  writer.text(text);
  (void)write_all(report_pipe, writer.packet());  // nobody may wait any more
  (void)close(report_pipe);
}

[[noreturn]] void be_lasting(int pipe, const std::function<void(const Report&)>& work) {
  answer_signals();
  if (!shed_descriptors(pipe)) _exit(1);
  (void)setpriority(PRIO_PROCESS, 0, lower_priority);  // work at the usual one is no fault
  try {
    work(report);
  } catch (...) {
    _exit(1);
  }
  _exit(0);
}

// An alarm, and a signal at a parent's death, stay behind at a fork.
[[noreturn]] void start(int pipe, const std::function<void(const Report&)>& work) {
  if (setsid() < 0) _exit(errno);
  const pid_t process = fork();
  if (process == 0) be_lasting(pipe, work);
  _exit(process < 0 ? errno : 0);
}

}  // namespace

std::optional<std::string> start_lasting_process(const std::function<void(const Report&)>& work) {
  int ends[2] = {-1, -1};
  if (pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
  const Descriptor reading_end(ends[0]);
  const pid_t between = fork();
  const int error = errno;
  if (between == 0) start(ends[1], work);
  (void)close(ends[1]);  // so that reading ends with the process
  errno = between < 0 ? error : wait_for(between).status;
  if (errno != 0) return std::nullopt;
  std::string packet;
  while (append_from(reading_end.get(), packet) > 0) continue;
  PacketReader reader(packet);
  const std::string text = reader.text();
  errno = 0;
  if (!reader.at_end()) return std::nullopt;
  return text;
}

}  // namespace Quarrow
