// Stands in front of the C library in a program under test (LD_PRELOAD), and tells it of another
// machine: its name in STRANGE_HOST, its clock, which stands still, in STRANGE_TIME, and the number
// that all processes of it have in STRANGE_PROCESS.
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

// The number that the environment's `variable` holds; `otherwise` without one.
long number_in(const char* variable, long otherwise) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? otherwise : std::strtol(text, nullptr, 10);
}

}  // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* now) {
  const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, now));
  if (clock == CLOCK_REALTIME && std::getenv("STRANGE_TIME") != nullptr)
    *now = {number_in("STRANGE_TIME", 0), 0};
  return result;
}

time_t time(time_t* place) {
  timespec now{};
  (void)clock_gettime(CLOCK_REALTIME, &now);
  if (place != nullptr) *place = now.tv_sec;
  return now.tv_sec;
}

int gethostname(char* name, std::size_t size) {
  const char* const host = std::getenv("STRANGE_HOST");
  (void)std::snprintf(name, size, "%s", host == nullptr ? "localhost" : host);
  return 0;
}

pid_t getpid() { return static_cast<pid_t>(number_in("STRANGE_PROCESS", syscall(SYS_getpid))); }

// A process asks whether its parent is still the one that it was.
pid_t getppid() { return static_cast<pid_t>(number_in("STRANGE_PROCESS", syscall(SYS_getppid))); }

}  // extern "C"
