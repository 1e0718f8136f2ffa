// Delivers messages as fast as it can, for measuring those that take them.
//
//   delivery_load lmtp SOCKET PROCESSES DELIVERIES FOLDER ADDRESS...
//   delivery_load bare MAILDIRS PROCESSES DELIVERIES FOLDER NAME...
//
// Each file in FOLDER is a message as it stands behind DATA, with its last line of one dot. `lmtp`
// sends them to the addresses in turn, over a connection for each process. `bare` does what no
// durable delivery can do without, for MAILDIRS/NAME in turn: it writes a file in tmp, fsyncs it,
// renames it into new, and fsyncs that. Printed are the deliveries a second.

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "system/descriptor.h"
#include "system/file_io.h"

namespace {

using Quarrow::Descriptor;

[[noreturn]] void fail(const std::string& what) {
  std::perror(("delivery_load: " + what).c_str());
  std::exit(1);
}

// Takes messages.
class Target {
 public:
  virtual ~Target() = default;
  virtual void deliver(const std::string& user, const std::string& message) = 0;
};

class LmtpServer : public Target {
 public:
  explicit LmtpServer(const std::string& path) : socket_(socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (connect(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
      fail(path);
    expect(1);
    say("LHLO client.example.net\r\n");
    expect(1);
  }

  void deliver(const std::string& user, const std::string& message) override {
    say("MAIL FROM:<sender@example.net>\r\nRCPT TO:<" + user + ">\r\nDATA\r\n");
    expect(3);
    say(message);
    expect(1);
  }

 private:
  void say(std::string_view text) {
    if (!Quarrow::write_all(socket_.get(), text)) fail("sending");
  }

  // Waits for so many replies, of which none may be a refusal.
  void expect(int replies) {
    while (replies > 0) {
      const std::size_t end = heard_.find('\n');
      if (end == std::string::npos) {
        if (Quarrow::append_from(socket_.get(), heard_) <= 0) fail("receiving");
        continue;
      }
      if (heard_.front() != '2' && heard_.front() != '3') fail(heard_.substr(0, end));
      if (heard_[3] == ' ') --replies;
      heard_.erase(0, end + 1);
    }
  }

  const Descriptor socket_;
  std::string heard_;
};

class Maildirs : public Target {
 public:
  explicit Maildirs(std::string folder) : folder_(std::move(folder)) {}

  void deliver(const std::string& user, const std::string& message) override {
    const std::string maildir = folder_ + '/' + user;
    const std::string name = '/' + std::to_string(start_) + '.' + std::to_string(getpid()) + '.' +
                             std::to_string(++count_);
    const std::string aside = maildir + "/tmp" + name;
    const Descriptor file(open(aside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!Quarrow::write_all(file.get(), message) || fsync(file.get()) != 0) fail(aside);
    const std::string target = maildir + "/new";
    if (std::rename(aside.c_str(), (target + name).c_str()) != 0) fail(target);
    const Descriptor folder(open(target.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fsync(folder.get()) != 0) fail(target);
  }

 private:
  const std::string folder_;
  const long long start_ = std::chrono::steady_clock::now().time_since_epoch().count();
  unsigned long count_ = 0;
};

std::vector<std::string> messages_in(const std::string& folder) {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) paths.push_back(entry);
  std::sort(paths.begin(), paths.end());
  std::vector<std::string> messages;
  for (const auto& path : paths) {
    std::ifstream file(path, std::ios::binary);
    messages.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  return messages;
}

std::unique_ptr<Target> target_of(const std::string& kind, const std::string& place) {
  if (kind == "lmtp") return std::make_unique<LmtpServer>(place);
  return std::make_unique<Maildirs>(place);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 7) return std::fputs("usage: see the head of bench/delivery_load.cc\n", stderr), 2;
  const std::string kind = argv[1];
  const std::string place = argv[2];
  const std::size_t processes = std::stoul(argv[3]);
  const std::size_t deliveries = std::stoul(argv[4]);
  const auto messages = messages_in(argv[5]);
  const std::vector<std::string> users(argv + 6, argv + argc);
  int ready[2] = {-1, -1};
  int start[2] = {-1, -1};
  if (messages.empty() || pipe(ready) != 0 || pipe(start) != 0) fail(argv[5]);
  for (std::size_t process = 0; process < processes; ++process) {
    if (fork() != 0) continue;
    (void)close(start[1]);
    const auto target = target_of(kind, place);
    char byte = 0;
    if (write(ready[1], &byte, 1) != 1 || read(start[0], &byte, 1) != 0) fail("start");
    for (std::size_t i = process; i < deliveries; i += processes)
      target->deliver(users[i % users.size()], messages[i % messages.size()]);
    _exit(0);
  }
  char byte = 0;
  (void)close(ready[1]);  // a process that could not start is noticed by the end of the pipe
  for (std::size_t process = 0; process < processes; ++process)
    if (read(ready[0], &byte, 1) != 1) fail("start");
  const auto began = std::chrono::steady_clock::now();
  (void)close(start[1]);
  int status = 0;
  while (wait(&status) > 0)
    if (status != 0) return 1;
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
  std::printf("%.2f\n", static_cast<double>(deliveries) / took.count());
}
