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

// A process that serves clients, with a socket to listen at, one to accept no connection from, and
// one with a client.
struct ServerSockets {
  ServerSockets() {
    for (int* const socket : {&listener, &other_listener}) {
      *socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
      EXPECT_EQ(0, bind(*socket, &no_name, sizeof no_name.sa_family));
      EXPECT_EQ(0, listen(*socket, 1));
    }
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, client));
  }
  ~ServerSockets() {
    for (const int socket : {listener, other_listener, client[0], client[1]}) (void)close(socket);
  }

  const sockaddr no_name = {AF_UNIX, {}};  // the kernel chooses one
  int listener = -1;
  int other_listener = -1;
  int client[2] = {-1, -1};
};

using ServerDeed = int (*)(const ServerSockets& sockets);

int status_of(ServerDeed deed) {
  const ServerSockets sockets;
  const pid_t child = fork();
  if (child == 0) {
    const auto filter = SystemCallFilter::for_listener(sockets.listener);
    _exit(confine(200 << 20, 0) && filter.apply() ? deed(sockets) : could_not_confine);
  }
  int status = 0;
  EXPECT_EQ(child, waitpid(child, &status, 0));
  return status;
}

const struct {
  const char* name;
  ServerDeed deed;
} deeds_forbidden_to_servers[] = {
    {"socket", [](const ServerSockets&) { return socket(AF_UNIX, SOCK_STREAM, 0); }},
    {"connect",
     [](const ServerSockets& s) { return connect(s.client[0], &s.no_name, sizeof s.no_name); }},
    {"accept from another socket",
     [](const ServerSockets& s) { return accept4(s.other_listener, nullptr, nullptr, 0); }},
    {"close its listening socket", [](const ServerSockets& s) { return close(s.listener); }},
    {"duplicate", [](const ServerSockets& s) { return dup2(s.client[0], s.listener); }},
    {"write to a file",
     [](const ServerSockets&) { return static_cast<int>(write(STDERR_FILENO, "x", 1)); }},
    {"fork", [](const ServerSockets&) { return static_cast<int>(fork()); }},
    {"exec", [](const ServerSockets&) { return execl("/bin/true", "true", nullptr); }},
    {"unlink", [](const ServerSockets&) { return unlink("/nowhere"); }},
    {"kill", [](const ServerSockets&) { return kill(getppid(), 0); }}};

TEST(ServerSandbox, EndsAProcessThatDoesWhatItMayNot) {
  for (const auto& c : deeds_forbidden_to_servers) {
    const int status = status_of(c.deed);
    EXPECT_TRUE(WIFSIGNALED(status)) << c.name << ": status " << WEXITSTATUS(status);
    EXPECT_EQ(SIGSYS, WTERMSIG(status)) << c.name;
  }
}

TEST(ServerSandbox, RefusesFilesAndOtherRightsToMemory) {
  const int status = status_of([](const ServerSockets&) {
    if (open("/etc/passwd", O_RDONLY) >= 0 || errno != EACCES) return 1;
    void* const page = mmap(nullptr, 4096, PROT_READ, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) return 2;
    return mprotect(page, 4096, PROT_READ | PROT_WRITE) != 0 && errno == EACCES ? 0 : 3;
  });
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(0, WEXITSTATUS(status));
}

TEST(ServerSandbox, LetsItServeClients) {
  const int status = status_of([](const ServerSockets& s) {
    char byte = 0;
    if (accept4(s.listener, nullptr, nullptr, 0) >= 0 || errno != EAGAIN) return 1;
    if (send(s.client[0], "x", 1, 0) != 1 || recv(s.client[1], &byte, 1, 0) != 1) return 2;
    return close(s.client[0]);
  });
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(0, WEXITSTATUS(status));
}

}  // namespace
}  // namespace Quarrow::Delivery
