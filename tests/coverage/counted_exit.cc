// _exit() in builds that count branches: what the process counted is kept, as exit() keeps it.
//
// A confined helper can't write files, and would be killed for trying.
#include <fstream>
#include <string>

// NOLINTBEGIN(bugprone-reserved-identifier): the linker and the compiler name them so
extern "C" {
int __llvm_profile_write_file(void);
[[noreturn]] void __real__exit(int status);
[[noreturn]] void __wrap__exit(int status);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

bool is_confined() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("Seccomp:", 0) == 0) return line.back() != '0';
  return true;
}

}  // namespace

void __wrap__exit(int status) {
  if (!is_confined()) (void)__llvm_profile_write_file();
  __real__exit(status);
}
