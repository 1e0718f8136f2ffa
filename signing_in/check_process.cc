// A child process and a pipe for the verdict. The child has the password from the memory that it
// was forked with: there is nothing to send, and nothing that others could read.
#include "signing_in/check_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>

#include "signing_in/secret_key.h"
#include "system/file_io.h"
#include "system/packet.h"
#include "system/process_end.h"

namespace Quarrow::SigningIn {
namespace {

using Result = PasswordVerdict::Result;

constexpr int answer_place = 3;  // behind standard input, output and error

std::string encode(const PasswordVerdict& verdict) {
  PacketWriter writer;
  writer.number(static_cast<std::uint64_t>(verdict.result));
  writer.text(verdict.reason);
  return writer.packet();
}

// False unless the packet is whole.
bool decode(const std::string& packet, PasswordVerdict& verdict) {
  PacketReader reader(packet);
  verdict.result = static_cast<Result>(reader.number(static_cast<int>(Result::unavailable)));
  verdict.reason = reader.text();
  return reader.at_end();
}

// By the kernel, which does so whatever the check does.
void end_at(std::chrono::milliseconds deadline) {
  (void)std::signal(SIGALRM, SIG_DFL);
  sigset_t alarm;
  sigemptyset(&alarm);
  sigaddset(&alarm, SIGALRM);
  (void)sigprocmask(SIG_UNBLOCK, &alarm, nullptr);
  const auto time = std::max(deadline, std::chrono::milliseconds(1));  // 0 would be no end
  itimerval timer{};
  timer.it_value.tv_sec = time.count() / 1000;
  timer.it_value.tv_usec = time.count() % 1000 * 1000;
  if (setitimer(ITIMER_REAL, &timer, nullptr) != 0) _exit(1);
}

PasswordVerdict verdict_of(const PasswordCheck& check, const std::string& user,
                           const std::string& password) {
  try {
    return check(user, password);
  } catch (const std::exception& error) {  // memory is short, say
    return {Result::unavailable, error.what()};
  }
}

[[noreturn]] void run_child(int pipe, const PasswordCheck& check, const std::string& user,
                            const std::string& password, std::chrono::milliseconds deadline) {
  end_at(deadline);
  (void)prctl(PR_SET_PDEATHSIG, SIGKILL);  // without it the deadline ends the process
  // A core file would hold the password, also one that is piped to a program.
  if (prctl(PR_SET_DUMPABLE, 0) != 0 || dup2(pipe, answer_place) < 0 ||
      close_range(answer_place + 1, ~0U, 0) != 0)
    _exit(1);
  _exit(write_all(answer_place, encode(verdict_of(check, user, password))) ? 0 : 1);
}

std::string reason_of(const ProcessEnd& end) {
  if (end.signal == SIGALRM) return "checking the password took too long";
  if (end.signal != 0)
    return std::string("checking the password was ended: ") + strsignal(end.signal);
  return "checking the password ended without an answer";
}

// Starts the process, whose number `process` becomes; gives the pipe's reading end.
int start(const PasswordCheck& check, const std::string& user, const std::string& password,
          std::chrono::milliseconds deadline, pid_t& process) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return -1;
  process = fork();
  if (process == 0) run_child(ends[1], check, user, password, deadline);
  (void)close(ends[1]);  // so that reading ends with the child
  if (process > 0) return ends[0];
  (void)close(ends[0]);
  return -1;
}

}  // namespace

CheckProcess::CheckProcess(const PasswordCheck& check, const std::string& user,
                           std::string& password, std::chrono::milliseconds deadline)
    : answer_(start(check, user, password, deadline, process_)) {
  wipe(password);
}

CheckProcess::~CheckProcess() {
  if (process_ <= 0) return;
  (void)kill(process_, SIGKILL);
  (void)wait_for(process_);
}

PasswordVerdict CheckProcess::verdict() {
  if (process_ <= 0) return {Result::unavailable, "no process for checking the password"};
  std::string packet;
  while (append_from(answer_.get(), packet) > 0) continue;
  const ProcessEnd end = wait_for(process_);
  process_ = -1;
  PasswordVerdict verdict;
  if (decode(packet, verdict)) return verdict;
  return {Result::unavailable, reason_of(end)};
}

}  // namespace Quarrow::SigningIn
