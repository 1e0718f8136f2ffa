// Each case runs confined in a process of its own.
#include "delivery/sandbox.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <new>
#include <vector>

#include "system/memory_file.h"

namespace Quarrow::Delivery {
namespace {

constexpr int could_not_confine = 99;

using Deed = int (*)(const MemoryFile& file);

// The status, as waitpid(2) gives it, of a confined process that ends with what `deed` returns.
int status_of(Deed deed) {
  const MemoryFile file;
  const pid_t child = fork();
  if (child == 0) {
    const SystemCallFilter filter(file.fd(), file.fd());
    _exit(confine(200 << 20, 32768) && filter.apply() ? deed(file) : could_not_confine);
  }
  int status = 0;
  EXPECT_EQ(child, waitpid(child, &status, 0));
  return status;
}

const struct {
  const char* name;
  Deed deed;
} forbidden_deeds[] = {
    {"socket", [](const MemoryFile&) { return socket(AF_INET, SOCK_STREAM, 0); }},
    {"unix socket", [](const MemoryFile&) { return socket(AF_UNIX, SOCK_STREAM, 0); }},
    {"fork", [](const MemoryFile&) { return static_cast<int>(fork()); }},
    {"exec", [](const MemoryFile&) { return execl("/bin/true", "true", nullptr); }},
    {"open to write", [](const MemoryFile&) { return open("/dev/null", O_WRONLY); }},
    {"open to change", [](const MemoryFile&) { return open("/dev/null", O_RDWR); }},
    {"create", [](const MemoryFile&) { return open("/tmp/x", O_RDONLY | O_CREAT, 0600); }},
    {"unlink", [](const MemoryFile&) { return unlink("/nowhere"); }},
    {"kill", [](const MemoryFile&) { return kill(getppid(), 0); }},
    {"write to another file",
     [](const MemoryFile&) { return static_cast<int>(write(STDERR_FILENO, "x", 1)); }},
    {"close its own files", [](const MemoryFile& file) { return close(file.fd()); }},
    {"duplicate", [](const MemoryFile& file) { return dup(file.fd()); }},
    {"run made code", [](const MemoryFile&) {
       void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC,
                               MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
       return page == MAP_FAILED ? 1 : 0;
     }}};

TEST(Sandbox, EndsAProcessThatDoesWhatItMayNot) {
  for (const auto& c : forbidden_deeds) {
    const int status = status_of(c.deed);
    EXPECT_TRUE(WIFSIGNALED(status)) << c.name << ": status " << WEXITSTATUS(status);
    EXPECT_EQ(SIGSYS, WTERMSIG(status)) << c.name;
  }
}

TEST(Sandbox, AFileTooLargeEndsTheProcess) {
  const int status =
      status_of([](const MemoryFile& file) { return file.write(std::string(40000, 'x')) ? 0 : 1; });
  ASSERT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 1);
  EXPECT_TRUE(WIFEXITED(status) || WTERMSIG(status) == SIGXFSZ);
}

TEST(Sandbox, TheFileInMemoryIsThereToWriteAndRead) {
  const int status = status_of([](const MemoryFile& file) {
    if (!file.write("text") || file.read() != "text") return 1;
    return open(file.path().c_str(), O_RDONLY) < 0 ? 2 : 0;
  });
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(0, WEXITSTATUS(status));
}

TEST(Sandbox, NoFileOfTheSystemCanBeOpened) {
  const int status = status_of([](const MemoryFile&) {
    if (open("/etc/passwd", O_RDONLY) >= 0) return 1;
    if (errno != EACCES) return 2;
    return open("/proc/self/environ", O_RDONLY) < 0 ? 0 : 3;
  });
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(0, WEXITSTATUS(status));
}

TEST(Sandbox, MemoryIsLimited) {
  const int status = status_of([](const MemoryFile&) {
    const auto take = [](std::size_t size) {
      return mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
    };
    if (!take(100 << 20)) return 1;
    return take(200 << 20) ? 2 : 0;
  });
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(0, WEXITSTATUS(status));
}

}  // namespace
}  // namespace Quarrow::Delivery
