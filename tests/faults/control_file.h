// The file through which a test controls a library in front of a program.
#ifndef QUARROW_TESTS_FAULTS_CONTROL_FILE_H_
#define QUARROW_TESTS_FAULTS_CONTROL_FILE_H_

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>

namespace Quarrow {

// The first bytes of the file that the environment's `variable` names, as shared memory; null when
// there is none. Makes its system calls itself: the libraries stand in front of the C library's.
inline void* map_control_file(const char* variable, std::size_t size) {
  const char* const path = std::getenv(variable);
  if (path == nullptr) return nullptr;
  const auto file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC, 0));
  if (file < 0) return nullptr;
  void* const place = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  (void)syscall(SYS_close, file);
  return place == MAP_FAILED ? nullptr : place;
}

}  // namespace Quarrow

#endif  // QUARROW_TESTS_FAULTS_CONTROL_FILE_H_
