// _exit() in builds that count branches: what the process counted is kept, as exit() keeps it.
//
// A confined helper can't write files, and would be killed for trying. A traced process is one that
// a test ends at any moment: it would leave half a file.
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

bool is_zero(const std::string& line, const char* name) {
  return line == std::string(name) + ":\t0";
}

bool may_keep_counts() {
  std::ifstream status("/proc/self/status");
  int zeros = 0;
  for (std::string line; std::getline(status, line);)
    if (is_zero(line, "TracerPid") || is_zero(line, "Seccomp")) ++zeros;
  return zeros == 2;
}

}  // namespace

void __wrap__exit(int status) {
  if (may_keep_counts()) (void)__llvm_profile_write_file();
  __real__exit(status);
}
