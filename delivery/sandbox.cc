// The only file that talks to libseccomp.
#include "delivery/sandbox.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "delivery/memory_use.h"
#include "system/descriptor.h"
#include "system/memory_file.h"

namespace Quarrow::Delivery {
namespace {

constexpr rlim_t most_descriptors = 16;

struct FilterFree {
  void operator()(scmp_filter_ctx filter) const { seccomp_release(filter); }
};
using Filter = std::unique_ptr<std::remove_pointer_t<scmp_filter_ctx>, FilterFree>;

// Memory, time, questions that the C library asks on the way, and ending.
const int harmless_calls[] = {SCMP_SYS(access),          SCMP_SYS(brk),
                              SCMP_SYS(clock_gettime),   SCMP_SYS(exit),
                              SCMP_SYS(exit_group),      SCMP_SYS(faccessat),
                              SCMP_SYS(faccessat2),      SCMP_SYS(fstat),
                              SCMP_SYS(futex),           SCMP_SYS(getpid),
                              SCMP_SYS(getrandom),       SCMP_SYS(gettid),
                              SCMP_SYS(gettimeofday),    SCMP_SYS(lseek),
                              SCMP_SYS(madvise),         SCMP_SYS(mremap),
                              SCMP_SYS(munmap),          SCMP_SYS(newfstatat),
                              SCMP_SYS(pread64),         SCMP_SYS(read),
                              SCMP_SYS(restart_syscall), SCMP_SYS(rt_sigaction),
                              SCMP_SYS(rt_sigprocmask),  SCMP_SYS(rt_sigreturn),
                              SCMP_SYS(sched_yield),     SCMP_SYS(sigaltstack),
                              SCMP_SYS(sysinfo),         SCMP_SYS(time)};

// A call that is allowed when one of its arguments is right.
struct ConditionalCall {
  int number;
  scmp_arg_cmp condition;  // the index of the argument, how it is compared, and with what
};

scmp_datum_t datum(int value) { return static_cast<scmp_datum_t>(value); }

// What a process may do to the memory that it has: no code is made.
const ConditionalCall mapping = {SCMP_SYS(mmap), {2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0}};

// The calls of a process with a socket and a file that it writes.
std::vector<ConditionalCall> calls_for_packets(int socket, int writable_file) {
  const scmp_datum_t writing = datum(O_ACCMODE | O_CREAT | O_TRUNC | O_APPEND);
  return {mapping,
          {SCMP_SYS(recvfrom), {0, SCMP_CMP_EQ, datum(socket), 0}},
          {SCMP_SYS(sendto), {0, SCMP_CMP_EQ, datum(socket), 0}},
          {SCMP_SYS(pwrite64), {0, SCMP_CMP_EQ, datum(writable_file), 0}},
          {SCMP_SYS(ftruncate), {0, SCMP_CMP_EQ, datum(writable_file), 0}},
          // No other file can take the number of the writable file, or of the socket.
          {SCMP_SYS(close), {0, SCMP_CMP_GT, datum(std::max(socket, writable_file)), 0}},
          {SCMP_SYS(open), {1, SCMP_CMP_MASKED_EQ, writing, O_RDONLY}},
          {SCMP_SYS(openat), {2, SCMP_CMP_MASKED_EQ, writing, O_RDONLY}},
          {SCMP_SYS(mprotect), {2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0}}};
}

// The calls of a process that serves the clients of a listening socket.
std::vector<ConditionalCall> calls_for_clients(int listener) {
  return {mapping,
          {SCMP_SYS(accept4), {0, SCMP_CMP_EQ, datum(listener), 0}},
          {SCMP_SYS(recvfrom), {0, SCMP_CMP_GT, datum(listener), 0}},
          {SCMP_SYS(sendto), {0, SCMP_CMP_GT, datum(listener), 0}},
          {SCMP_SYS(close), {0, SCMP_CMP_GT, datum(listener), 0}}};
}

// Waiting, and noting signals.
const int calls_for_waiting[] = {SCMP_SYS(poll), SCMP_SYS(ppoll), SCMP_SYS(rt_sigpending)};

// What libraries try on the way, and do without.
const int calls_for_nothing[] = {SCMP_SYS(mprotect), SCMP_SYS(open), SCMP_SYS(openat)};

template <typename Calls>
bool answer(const Filter& filter, std::uint32_t action, const Calls& calls) {
  return std::all_of(
      std::begin(calls), std::end(calls),
      [&](int call) { return seccomp_rule_add(filter.get(), action, call, 0) == 0; });
}

// Rules that allow the harmless calls and `calls`.
Filter rules(const std::vector<ConditionalCall>& calls) {
  Filter filter(seccomp_init(SCMP_ACT_KILL_PROCESS));
  if (!filter) return nullptr;
  // As a binary tree, which the kernel goes through for each possible call when it takes the
  // filter.
  bool added = seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_OPTIMIZE, 2) == 0;
  added &= answer(filter, SCMP_ACT_ALLOW, harmless_calls);
  for (const ConditionalCall& call : calls) {
    added &=
        seccomp_rule_add_array(filter.get(), SCMP_ACT_ALLOW, call.number, 1, &call.condition) == 0;
  }
  return added ? std::move(filter) : nullptr;
}

Filter rules_for_listener(int listener) {
  Filter filter = rules(calls_for_clients(listener));
  const bool added = filter && answer(filter, SCMP_ACT_ALLOW, calls_for_waiting) &&
                     answer(filter, SCMP_ACT_ERRNO(EACCES), calls_for_nothing);
  return added ? std::move(filter) : nullptr;
}

// The rules as the kernel takes them. libseccomp writes them to a file only.
std::vector<sock_filter> compile(const Filter& rules) {
  const MemoryFile file;
  if (!rules || seccomp_export_bpf(rules.get(), file.fd()) != 0) return {};
  const std::string bytes = file.read();
  std::vector<sock_filter> program(bytes.size() / sizeof(sock_filter));
  std::memcpy(program.data(), bytes.data(), program.size() * sizeof(sock_filter));
  return program;
}

// In bytes.
std::uint64_t address_space() {
  const Descriptor statm(open("/proc/self/statm", O_RDONLY | O_CLOEXEC));
  return memory_use(statm.get()).address_space;
}

bool limit(__rlimit_resource resource, rlim_t most) {
  rlimit now = {};
  if (getrlimit(resource, &now) != 0) return false;
  const rlim_t value = most < now.rlim_max ? most : now.rlim_max;
  const rlimit narrowed = {value, value};
  return setrlimit(resource, &narrowed) == 0;
}

bool limit_resources(std::uint64_t memory, std::uint64_t file_size) {
  return limit(RLIMIT_AS, address_space() + memory) && limit(RLIMIT_CORE, 0) &&
         limit(RLIMIT_FSIZE, file_size) && limit(RLIMIT_NOFILE, most_descriptors);
}

// No rule allows anything. Files in memory are not in the file system and stay open to the process.
bool leave_file_system() {
  landlock_ruleset_attr handled = {};
  handled.handled_access_fs = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;  // all of the first version
  const Descriptor ruleset(
      static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0)));
  return ruleset.get() >= 0 && syscall(SYS_landlock_restrict_self, ruleset.get(), 0) == 0;
}

}  // namespace

bool has_landlock() {
  return syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) > 0;
}

bool confine(std::uint64_t memory, std::uint64_t file_size) {
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && limit_resources(memory, file_size) &&
         (leave_file_system() || !has_landlock());
}

SystemCallFilter::SystemCallFilter(int socket, int writable_file)
    : program_(compile(rules(calls_for_packets(socket, writable_file)))) {}

SystemCallFilter SystemCallFilter::for_listener(int listener) {
  return SystemCallFilter(compile(rules_for_listener(listener)));
}

bool SystemCallFilter::apply() const {
  const sock_fprog program = {static_cast<unsigned short>(program_.size()),
                              const_cast<sock_filter*>(program_.data())};
  return !program_.empty() && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) == 0;
}

}  // namespace Quarrow::Delivery
