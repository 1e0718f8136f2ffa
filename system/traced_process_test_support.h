// A process that stops at each of its system calls, to be looked at or killed there.
#ifndef QUARROW_SYSTEM_TRACED_PROCESS_TEST_SUPPORT_H_
#define QUARROW_SYSTEM_TRACED_PROCESS_TEST_SUPPORT_H_

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <string>

namespace Quarrow {

class TracedProcess {
 public:
  // Stops before `work`, in a child process that ends behind it.
  explicit TracedProcess(const std::function<void()>& work) : child_(fork()) {
    if (child_ == 0) {
      if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0) {
        (void)raise(SIGSTOP);
        work();
      }
      _exit(0);
    }
    is_running_ = await() && ptrace(PTRACE_SETOPTIONS, child_, nullptr,
                                    PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL) == 0;
  }
  ~TracedProcess() { kill(); }
  TracedProcess(const TracedProcess&) = delete;
  TracedProcess& operator=(const TracedProcess&) = delete;

  // Whether the process is there. False from the beginning where processes may not be traced.
  bool is_running() const { return is_running_; }

  // Goes on to where the next system call begins or ends. False when the process ended instead.
  bool step() {
    is_running_ = is_running_ && ptrace(PTRACE_SYSCALL, child_, nullptr, nullptr) == 0 && await();
    return is_running_;
  }

  // The number of the system call that begins here; negative elsewhere.
  long beginning_call() const {
    __ptrace_syscall_info info{};
    if (ptrace(PTRACE_GET_SYSCALL_INFO, child_, sizeof info, &info) <= 0) return -1;
    return info.op == PTRACE_SYSCALL_INFO_ENTRY ? static_cast<long>(info.entry.nr) : -1;
  }

  // The path of the file whose descriptor is the first argument of the call that begins here.
  std::string file_of_call() const {
    __ptrace_syscall_info info{};
    if (ptrace(PTRACE_GET_SYSCALL_INFO, child_, sizeof info, &info) <= 0) return "";
    const std::string folder = "/proc/" + std::to_string(child_) + "/fd/";
    return std::filesystem::read_symlink(folder + std::to_string(info.entry.args[0])).string();
  }

  // Goes on to the end without a stop. The exit status; -1 where a signal ended the process.
  int finish() {
    int status = -1;
    if (is_running_ && ptrace(PTRACE_DETACH, child_, nullptr, nullptr) == 0)
      (void)waitpid(child_, &status, 0);
    is_running_ = false;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  void kill() {
    if (!is_running_) return;
    is_running_ = false;
    (void)::kill(child_, SIGKILL);
    while (await()) continue;
  }

 private:
  // Waits for the child. False when it has ended.
  bool await() const {
    int status = 0;
    return waitpid(child_, &status, 0) == child_ && WIFSTOPPED(status);
  }

  const pid_t child_;
  bool is_running_ = false;
};

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_TRACED_PROCESS_TEST_SUPPORT_H_
