// Stands in for the running of scripts in a server that is built with it: does what a message could
// do that has taken its helper over. A message says in its subject what is tried, and is filed into
// a folder that tells what came of it; most attempts end the helper.
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "delivery/script_runner.h"

namespace Quarrow::Delivery {
namespace {

// The value of a header line; empty when there is none.
std::string value_of(const std::string& header, const std::string& name) {
  const std::string start = '\n' + name + ": ";
  const std::size_t at = ('\n' + header).find(start);
  if (at == std::string::npos) return "";
  const std::size_t value = at + start.size() - 1;
  return header.substr(value, header.find_first_of("\r\n", value) - value);
}

// What a system call came to, as a folder's name.
std::string outcome(long result) {
  return result >= 0 ? "done" : "refused " + std::to_string(errno);
}

std::string open_to_read(const std::string& path) {
  return outcome(open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

std::string descriptors() {
  std::string found = "descriptors";
  struct stat status {};
  for (int fd = 0; fd < 1024; ++fd)
    if (fstat(fd, &status) == 0) found += ' ' + std::to_string(fd);
  return found;
}

// The descriptors through which something outside could be changed in memory.
std::string mappings() {
  std::string found = "mapped";
  for (int fd = 0; fd < 1024; ++fd) {
    void* const memory = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (memory != MAP_FAILED) found += ' ' + std::to_string(fd);
  }
  return found;
}

std::string grow() {
  constexpr std::size_t size = std::size_t{100} << 20;
  void* const memory =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return outcome(-1);
  std::memset(memory, 1, size);
  return "grown";
}

std::string take_memory() {
  constexpr std::size_t size = std::size_t{2} << 30;
  return outcome(
      mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED ? -1 : 0);
}

std::string answer_nonsense() { return outcome(send(3, "nonsense", 8, 0)); }

std::string read_other_process(pid_t process) {
  char byte = 0;
  iovec here = {&byte, 1};
  iovec there = {&byte, 1};
  return outcome(process_vm_readv(process, &here, 1, &there, 1, 0));
}

// The messages that this process has seen, this one included.
std::string remember() {
  static int seen = 0;
  return "seen " + std::to_string(++seen);
}

using Deed = std::function<std::string(const std::string& header)>;

pid_t process_in(const std::string& header) { return std::stoi(value_of(header, "X-Process")); }

const std::map<std::string, Deed> deeds = {
    {"open", [](const auto& header) { return open_to_read(value_of(header, "X-Path")); }},
    {"descriptors", [](const auto&) { return descriptors(); }},
    {"map", [](const auto&) { return mappings(); }},
    {"grow", [](const auto&) { return grow(); }},
    {"take memory", [](const auto&) { return take_memory(); }},
    {"remember", [](const auto&) { return remember(); }},
    {"answer nonsense", [](const auto&) { return answer_nonsense(); }},
    {"hang",
     [](const auto&) -> std::string {
       for (volatile bool goes_on = true; goes_on;) continue;
       return "";
     }},
    {"crash", [](const auto&) -> std::string { __builtin_trap(); }},
    {"write",
     [](const auto& header) {
       return outcome(open(value_of(header, "X-Path").c_str(), O_WRONLY | O_APPEND));
     }},
    {"unlink",
     [](const auto& header) { return outcome(unlink(value_of(header, "X-Path").c_str())); }},
    {"fork", [](const auto&) { return outcome(fork()); }},
    {"sibling",
     [](const auto&) { return outcome(syscall(SYS_clone, 0x00008000 | SIGCHLD, 0, 0, 0, 0)); }},
    {"execute", [](const auto&) { return outcome(execl("/bin/true", "true", nullptr)); }},
    {"connect", [](const auto&) { return outcome(socket(AF_INET, SOCK_STREAM, 0)); }},
    {"kill", [](const auto& header) { return outcome(kill(process_in(header), SIGTERM)); }},
    {"trace",
     [](const auto& header) {
       return outcome(ptrace(PTRACE_ATTACH, process_in(header), nullptr, nullptr));
     }},
    {"read memory", [](const auto& header) { return read_other_process(process_in(header)); }},
    {"take descriptor",
     [](const auto& header) { return outcome(syscall(SYS_pidfd_open, process_in(header), 0)); }},
    {"receive descriptor",
     [](const auto&) {
       msghdr message = {};
       return outcome(recvmsg(3, &message, MSG_DONTWAIT));
     }},
    {"ring", [](const auto&) { return outcome(syscall(SYS_io_uring_setup, 1, nullptr)); }},
    {"raise limit",
     [](const auto&) { return outcome(syscall(SYS_prlimit64, 0, 0, nullptr, nullptr)); }},
};

}  // namespace

ScriptRunner::ScriptRunner(const MemoryFile& file, std::size_t cached_scripts)
    : file_(file), cached_scripts_(cached_scripts) {}

Evaluation ScriptRunner::run(const std::string& /*script*/, const std::string& header,
                             std::uint64_t /*size*/, std::int64_t /*received*/) {
  Evaluation evaluation;
  evaluation.outcome = Evaluation::Outcome::done;
  const auto deed = deeds.find(value_of(header, "Subject"));
  if (deed == deeds.end()) return evaluation;
  SieveAction action;
  action.type = SieveAction::FILEINTO;
  action.mailbox = deed->second(header);
  evaluation.result.actions = {action};
  return evaluation;
}

}  // namespace Quarrow::Delivery
