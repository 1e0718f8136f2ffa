// Stands in front of the C library in a program under test (LD_PRELOAD): one of its allocations
// fails. MEMORY_CONTROL names a file that the test has mapped, too. Where MEMORY_OF is a part of a
// library's name, only the allocations that this library asks for count. A process that drops all
// shared memory goes on without faults.
#include <dlfcn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "control_file.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* place, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

// The mapped file, which faulty_memory.py knows as well.
struct Control {
  std::atomic<std::uint64_t> allocations;
  std::uint64_t first;  // those that fail
  std::uint64_t last;
};

Control*& control() {
  static auto* mapped =
      static_cast<Control*>(Quarrow::map_control_file("MEMORY_CONTROL", sizeof(Control)));
  return mapped;
}

bool is_of(const char* library, const void* code) {
  Dl_info found{};
  return dladdr(code, &found) != 0 && std::strstr(found.dli_fname, library) != nullptr;
}

bool counts(const void* caller) {
  static const char* const library = std::getenv("MEMORY_OF");
  return library == nullptr || is_of(library, caller);
}

// libseccomp, which makes the filter that confines helpers, goes round for ever where memory is
// short.
bool is_of_libseccomp(const void* code) { return is_of("libseccomp", code); }

// Whether the allocation that `caller` asks for fails.
bool fails(const void* caller) {
  if (control() == nullptr || !counts(caller)) return false;
  const std::uint64_t number = ++control()->allocations;
  if (number < control()->first || number > control()->last) return false;
  if (is_of_libseccomp(caller)) return false;
  errno = ENOMEM;
  return true;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  return fails(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  return fails(__builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* place, std::size_t size) {
  return fails(__builtin_return_address(0)) ? nullptr : __libc_realloc(place, size);
}

void* memalign(std::size_t alignment, std::size_t size) {
  return fails(__builtin_return_address(0)) ? nullptr : __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }

int posix_memalign(void** place, std::size_t alignment, std::size_t size) {
  *place = memalign(alignment, size);
  return *place == nullptr ? ENOMEM : 0;
}

int munmap(void* place, std::size_t size) {
  if (place == control()) control() = nullptr;
  return static_cast<int>(syscall(SYS_munmap, place, size));
}

}  // extern "C"
