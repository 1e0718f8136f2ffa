// Counts of branches that a process would take with it, in builds that count them: _exit() keeps
// them as exit() does, and a confined process leaves them to the processes that it came from.
//
// A confined process can't write files, or no long ones, and a helper is killed once it has
// answered. So a helper adds its counts, before each answer, to memory that it shares with its
// evaluator's process, which keeps them with its own when it ends. Nobody can write that memory
// while it isn't used: a helper drops what can be written. Where two helpers add at once, counts of
// one may get lost. A traced process is one that a test ends at any moment: it would leave half of
// its counts.
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

// NOLINTBEGIN(bugprone-reserved-identifier): the linker and the compiler name them so
extern "C" {
std::uint64_t __llvm_profile_get_size_for_buffer(void);
int __llvm_profile_merge_from_buffer(const char* counts, std::uint64_t size);
int __llvm_profile_register_write_file_atexit(void);
void __llvm_profile_reset_counters(void);
int __llvm_profile_write_buffer(char* counts);
int __llvm_profile_write_file(void);
[[noreturn]] void __real__exit(int status);
[[noreturn]] void __wrap__exit(int status);
int __real_prctl(int option, unsigned long, unsigned long, unsigned long, unsigned long);
int __wrap_prctl(int option, unsigned long, unsigned long, unsigned long, unsigned long);
ssize_t __real_send(int socket, const void* bytes, std::size_t size, int flags);
ssize_t __wrap_send(int socket, const void* bytes, std::size_t size, int flags);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

enum class Ending { free, traced, confined };

char* shared = nullptr;  // a profile, or all zero: no confined process added anything
std::uint64_t shared_size = 0;
bool is_helper = false;

void add_from_shared() {
  if (mprotect(shared, shared_size, PROT_READ) != 0) return;
  if (shared[0] != 0) (void)__llvm_profile_merge_from_buffer(shared, shared_size);
}

// What was added is not added again with what this process counts from now on.
void move_to_shared() {
  add_from_shared();
  if (mprotect(shared, shared_size, PROT_READ | PROT_WRITE) != 0) return;
  (void)__llvm_profile_write_buffer(shared);
  __llvm_profile_reset_counters();
  (void)mprotect(shared, shared_size, PROT_NONE);
}

// Before the runtime writes this process's counts: functions run in reverse order at the end.
__attribute__((constructor)) void share() {
  shared_size = __llvm_profile_get_size_for_buffer();
  void* const memory =
      mmap(nullptr, shared_size, PROT_NONE, MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) std::abort();
  shared = static_cast<char*>(memory);
  (void)__llvm_profile_register_write_file_atexit();
  (void)std::atexit(add_from_shared);
}

bool is_zero(const std::string& line, const char* name) {
  return line == std::string(name) + ":\t0";
}

bool may_write_files() {
  rlimit size = {};
  return getrlimit(RLIMIT_FSIZE, &size) == 0 && size.rlim_cur == RLIM_INFINITY;
}

Ending ending() {
  std::ifstream status("/proc/self/status");
  bool is_traced = true;
  bool is_confined = true;
  for (std::string line; std::getline(status, line);) {
    if (is_zero(line, "TracerPid")) is_traced = false;
    if (is_zero(line, "Seccomp")) is_confined = false;
  }
  if (is_confined || !may_write_files()) return Ending::confined;
  return is_traced ? Ending::traced : Ending::free;
}

}  // namespace

void __wrap__exit(int status) {
  switch (ending()) {
    case Ending::free:
      add_from_shared();
      (void)__llvm_profile_write_file();
      break;
    case Ending::confined:
      move_to_shared();
      break;
    case Ending::traced:
      break;
  }
  __real__exit(status);
}

int __wrap_prctl(int option, unsigned long second, unsigned long third, unsigned long fourth,
                 unsigned long fifth) {
  const int result = __real_prctl(option, second, third, fourth, fifth);
  if (option == PR_SET_SECCOMP && result == 0) is_helper = true;
  return result;
}

ssize_t __wrap_send(int socket, const void* bytes, std::size_t size, int flags) {
  if (is_helper) move_to_shared();
  return __real_send(socket, bytes, size, flags);
}
