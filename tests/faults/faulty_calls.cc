// Stands in front of the C library in a program under test (LD_PRELOAD): one of its calls for files
// fails or ends the process, and all of them are recorded.
//
// FAULTS_CONTROL names a file that the test has mapped, too; FAULTS_FOLDER the folder whose files
// count. Paths are known from the calls themselves, so that a confined process makes no other calls
// than it would alone.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>

#include "control_file.h"

namespace {

enum class Fault : std::int32_t { none, error, kill_before, kill_behind, half_write };

// The beginning of the mapped file, which faulty_calls.py knows as well; the record follows.
struct Control {
  std::atomic<std::uint64_t> calls;
  std::uint64_t first;  // the calls that meet the fault
  std::uint64_t last;
  Fault fault;
  std::int32_t error;
  std::atomic<std::uint64_t> recorded;  // bytes
};

constexpr std::size_t most_recorded = std::size_t{4} << 20U;

Control*& control() {
  static auto* mapped = static_cast<Control*>(
      Quarrow::map_control_file("FAULTS_CONTROL", sizeof(Control) + most_recorded));
  return mapped;
}

// Never destroyed: the program may open files at its very end.
const std::string& counted_folder() {
  static const char* const folder = std::getenv("FAULTS_FOLDER");
  static const std::string& path = *new std::string(folder == nullptr ? "/no folder" : folder);
  return path;
}

// The paths of open files.
class OpenFiles {
 public:
  void set(int fd, const std::string& path) {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (fd >= 0 && static_cast<std::size_t>(fd) < paths_.size())
      paths_[static_cast<std::size_t>(fd)] = path;
  }
  std::string get(int fd) {
    const std::lock_guard<std::mutex> guard(mutex_);
    return fd >= 0 && static_cast<std::size_t>(fd) < paths_.size()
               ? paths_[static_cast<std::size_t>(fd)]
               : "";
  }

 private:
  std::mutex mutex_;
  std::array<std::string, 1024> paths_;
};

// Never destroyed either.
OpenFiles& open_files() {
  static OpenFiles& files = *new OpenFiles;
  return files;
}

std::string path_at(int folder, const char* path) {
  const std::string above = path[0] == '/' ? "" : open_files().get(folder) + '/';
  std::string whole = std::filesystem::path(above + path).lexically_normal().string();
  if (whole.size() > 1 && whole.back() == '/') whole.pop_back();
  return whole;
}

struct Call {
  const char* name;
  std::string path;
  std::string other = {};
  long number = 0;  // flags, an offset or a length
  std::string_view data = {};
};

bool counts(const Call& call) {
  const std::string& folder = counted_folder();
  return call.path.compare(0, folder.size(), folder) == 0;
}

void record(std::uint64_t number, const Call& call, long result) {
  const std::string text = std::to_string(number) + '\t' + std::to_string(getpid()) + '\t' +
                           call.name + '\t' + std::to_string(result) + '\t' + call.path + '\t' +
                           call.other + '\t' + std::to_string(call.number) + '\t' +
                           std::to_string(call.data.size()) + '\n' + std::string(call.data);
  const std::uint64_t place = control()->recorded.fetch_add(text.size());
  if (place + text.size() > most_recorded) abort();  // a record with holes would prove nothing
  std::memcpy(reinterpret_cast<char*>(control() + 1) + place, text.data(), text.size());
}

// Has `work` done, or the fault in its place; `half` is work that does half of it.
template <typename Work, typename Half>
long perform(const Call& call, const Work& work, const Half& half) {
  if (control() == nullptr || !counts(call)) return work();
  const std::uint64_t number = ++control()->calls;
  const bool is_hit = number >= control()->first && number <= control()->last;
  const Fault fault = is_hit ? control()->fault : Fault::none;
  if (fault == Fault::kill_before) (void)kill(getpid(), SIGKILL);
  long result = -1;
  if (fault == Fault::error)
    errno = control()->error;
  else
    result = fault == Fault::half_write ? half() : work();
  const int error = errno;
  if (fault == Fault::kill_behind) (void)kill(getpid(), SIGKILL);
  record(number, call, result);
  errno = error;
  return result;
}

template <typename Work>
long perform(const Call& call, const Work& work) {
  return perform(call, work, work);
}

int open_file(int folder, const char* path, int flags, mode_t mode) {
  const bool is_written = (flags & (O_ACCMODE | O_CREAT)) != O_RDONLY;
  const std::string whole = path_at(folder, path);
  const auto fd = static_cast<int>(perform({is_written ? "create" : "open", whole, "", flags}, [=] {
    return syscall(SYS_openat, folder, path, flags, mode);
  }));
  if (fd >= 0) open_files().set(fd, whole);
  return fd;
}

// What gives descriptors is counted as a call for the folder itself.
template <typename Work>
int give_descriptor(const char* name, const Work& work) {
  return static_cast<int>(perform({name, counted_folder()}, work));
}

int rename_file(int from, const char* path, int to, const char* new_path, unsigned flags) {
  return static_cast<int>(perform(
      {"rename", path_at(from, path), path_at(to, new_path), static_cast<long>(flags)},
      [=] { return syscall(SYS_renameat2, from, path, to, new_path, flags); }));
}

int link_file(int from, const char* path, int to, const char* new_path, int flags) {
  return static_cast<int>(perform(
      {"link", path_at(from, path), path_at(to, new_path), flags},
      [=] { return syscall(SYS_linkat, from, path, to, new_path, flags); }));
}

int unlink_file(int folder, const char* path, int flags) {
  const char* const name = (flags & AT_REMOVEDIR) != 0 ? "rmdir" : "unlink";
  return static_cast<int>(perform({name, path_at(folder, path), "", flags},
                                  [=] { return syscall(SYS_unlinkat, folder, path, flags); }));
}

int make_folder(int folder, const char* path, mode_t mode) {
  return static_cast<int>(perform(
      {"mkdir", path_at(folder, path), "", static_cast<long>(mode)},
      [=] { return syscall(SYS_mkdirat, folder, path, mode); }));
}

ssize_t write_file(int fd, const void* data, std::size_t size) {
  return perform(
      {"write", open_files().get(fd), "", -1, {static_cast<const char*>(data), size}},
      [=] { return syscall(SYS_write, fd, data, size); },
      [=] { return syscall(SYS_write, fd, data, (size + 1) / 2); });
}

ssize_t write_file_at(int fd, const void* data, std::size_t size, off_t offset) {
  return perform(
      {"write", open_files().get(fd), "", offset, {static_cast<const char*>(data), size}},
      [=] { return syscall(SYS_pwrite64, fd, data, size, offset); },
      [=] { return syscall(SYS_pwrite64, fd, data, (size + 1) / 2, offset); });
}

// The machine stays up: nothing has to reach the disk, which would only take time.
int synchronise(int fd) {
  return static_cast<int>(perform(
      {"fsync", open_files().get(fd)}, [] { return 0; }));
}

int synchronise_all(int fd) {
  return static_cast<int>(perform(
      {"syncfs", open_files().get(fd)}, [] { return 0; }));
}

mode_t mode_behind(int flags, va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = mode_behind(flags, arguments);
  va_end(arguments);
  return open_file(AT_FDCWD, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = mode_behind(flags, arguments);
  va_end(arguments);
  return open_file(AT_FDCWD, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = mode_behind(flags, arguments);
  va_end(arguments);
  return open_file(folder, path, flags, mode);
}

FILE* fopen64(const char* path, const char* mode) {
  static const auto real =
      reinterpret_cast<FILE* (*)(const char*, const char*)>(dlsym(RTLD_NEXT, "fopen64"));
  const std::string whole = path_at(AT_FDCWD, path);
  FILE* file = nullptr;
  (void)perform({mode[0] == 'r' ? "open" : "create", whole, "", O_CREAT | O_TRUNC}, [&] {
    file = real(path, mode);
    return file == nullptr ? -1L : 0L;
  });
  if (file != nullptr) open_files().set(fileno(file), whole);
  return file;
}

// The C library closes the descriptor by itself.
int fclose(FILE* file) {
  static const auto real = reinterpret_cast<int (*)(FILE*)>(dlsym(RTLD_NEXT, "fclose"));
  open_files().set(fileno(file), "");
  return real(file);
}

int mkostemp(char* path, int flags) {
  static const auto real = reinterpret_cast<int (*)(char*, int)>(dlsym(RTLD_NEXT, "mkostemp"));
  const auto fd = static_cast<int>(
      perform({"create", path_at(AT_FDCWD, path), "", O_CREAT}, [=] { return real(path, flags); }));
  if (fd >= 0) open_files().set(fd, path_at(AT_FDCWD, path));
  return fd;
}

int close(int fd) {
  open_files().set(fd, "");
  return static_cast<int>(syscall(SYS_close, fd));
}

// The C library closes the descriptor by itself.
int closedir(DIR* folder) {
  static const auto real = reinterpret_cast<int (*)(DIR*)>(dlsym(RTLD_NEXT, "closedir"));
  open_files().set(dirfd(folder), "");
  return real(folder);
}

ssize_t read(int fd, void* data, std::size_t size) {
  return perform(
      {"read", open_files().get(fd)}, [=] { return syscall(SYS_read, fd, data, size); });
}

ssize_t pread(int fd, void* data, std::size_t size, off_t offset) {
  return perform(
      {"read", open_files().get(fd)}, [=] { return syscall(SYS_pread64, fd, data, size, offset); });
}

ssize_t pread64(int fd, void* data, std::size_t size, off_t offset) {
  return pread(fd, data, size, offset);
}

ssize_t write(int fd, const void* data, std::size_t size) { return write_file(fd, data, size); }

ssize_t pwrite(int fd, const void* data, std::size_t size, off_t offset) {
  return write_file_at(fd, data, size, offset);
}

ssize_t pwrite64(int fd, const void* data, std::size_t size, off_t offset) {
  return write_file_at(fd, data, size, offset);
}

ssize_t writev(int fd, const iovec* parts, int count) {
  std::string all;
  for (int i = 0; i < count; ++i)
    all.append(static_cast<const char*>(parts[i].iov_base), parts[i].iov_len);
  return write_file(fd, all.data(), all.size());
}

int fsync(int fd) { return synchronise(fd); }

int fdatasync(int fd) { return synchronise(fd); }

int syncfs(int fd) { return synchronise_all(fd); }

int ftruncate(int fd, off_t size) {
  return static_cast<int>(perform(
      {"truncate", open_files().get(fd), "", size},
      [=] { return syscall(SYS_ftruncate, fd, size); }));
}

int ftruncate64(int fd, off_t size) { return ftruncate(fd, size); }

int rename(const char* from, const char* to) {
  return rename_file(AT_FDCWD, from, AT_FDCWD, to, 0);
}

int renameat(int from, const char* path, int to, const char* new_path) {
  return rename_file(from, path, to, new_path, 0);
}

int renameat2(int from, const char* path, int to, const char* new_path, unsigned flags) {
  return rename_file(from, path, to, new_path, flags);
}

int link(const char* path, const char* new_path) {
  return link_file(AT_FDCWD, path, AT_FDCWD, new_path, 0);
}

int linkat(int from, const char* path, int to, const char* new_path, int flags) {
  return link_file(from, path, to, new_path, flags);
}

int unlink(const char* path) { return unlink_file(AT_FDCWD, path, 0); }

int unlinkat(int folder, const char* path, int flags) { return unlink_file(folder, path, flags); }

int rmdir(const char* path) { return unlink_file(AT_FDCWD, path, AT_REMOVEDIR); }

int mkdir(const char* path, mode_t mode) { return make_folder(AT_FDCWD, path, mode); }

int mkdirat(int folder, const char* path, mode_t mode) { return make_folder(folder, path, mode); }

int flock(int fd, int operation) {
  return static_cast<int>(perform(
      {"flock", open_files().get(fd), "", operation},
      [=] { return syscall(SYS_flock, fd, operation); }));
}

int futimens(int fd, const timespec* times) {
  return static_cast<int>(perform(
      {"utimens", open_files().get(fd)},
      [=] { return syscall(SYS_utimensat, fd, nullptr, times, 0); }));
}

int chmod(const char* path, mode_t mode) {
  return static_cast<int>(perform(
      {"chmod", path_at(AT_FDCWD, path), "", static_cast<long>(mode)},
      [=] { return syscall(SYS_chmod, path, mode); }));
}

int fchmod(int fd, mode_t mode) {
  return static_cast<int>(perform(
      {"chmod", open_files().get(fd), "", static_cast<long>(mode)},
      [=] { return syscall(SYS_fchmod, fd, mode); }));
}

// The third argument is a number or a pointer, and none for some commands.
int fcntl(int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  const auto argument = va_arg(arguments, std::uintptr_t);
  va_end(arguments);
  const auto work = [=] { return syscall(SYS_fcntl, fd, command, argument); };
  if (command == F_SETLK || command == F_SETLKW || command == F_OFD_SETLK)
    return static_cast<int>(perform({"lock", open_files().get(fd), "", command}, work));
  const auto result = static_cast<int>(work());
  if (command == F_DUPFD || command == F_DUPFD_CLOEXEC)
    open_files().set(result, open_files().get(fd));
  return result;
}

int fcntl64(int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  const auto argument = va_arg(arguments, std::uintptr_t);
  va_end(arguments);
  return fcntl(fd, command, argument);
}

// A process that drops all shared memory goes on without faults.
int munmap(void* place, std::size_t size) {
  if (place == control()) control() = nullptr;
  return static_cast<int>(syscall(SYS_munmap, place, size));
}

int memfd_create(const char* name, unsigned flags) {
  return give_descriptor(
      "memfd_create", [=] { return syscall(SYS_memfd_create, name, flags); });
}

int pipe2(int ends[2], int flags) {
  return give_descriptor(
      "pipe2", [=] { return syscall(SYS_pipe2, ends, flags); });
}

int socketpair(int domain, int type, int protocol, int ends[2]) {
  return give_descriptor(
      "socketpair", [=] { return syscall(SYS_socketpair, domain, type, protocol, ends); });
}

// An answer to a client: in the record, so that it is known what was promised by then.
ssize_t send(int fd, const void* data, std::size_t size, int flags) {
  const ssize_t sent = syscall(SYS_sendto, fd, data, size, flags, nullptr, 0);
  const int error = errno;
  if (control() != nullptr && sent > 0)
    record(0, {"send", "", "", flags, {static_cast<const char*>(data), std::size_t(sent)}}, sent);
  errno = error;
  return sent;
}

}  // extern "C"
