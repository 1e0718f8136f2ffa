// A stream of numbers one way, and of texts behind their length the other way.
#include "trial/job_process.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string_view>

#include "system/file_io.h"
#include "system/process_end.h"

namespace Quarrow::Trial {
namespace {

bool receive(int socket, void* data, std::size_t size) {
  char* const bytes = static_cast<char*>(data);
  for (std::size_t done = 0; done < size;) {
    const ssize_t count = recv(socket, bytes + done, size - done, MSG_WAITALL);
    if (count == 0 || (count < 0 && errno != EINTR)) return false;
    if (count > 0) done += static_cast<std::size_t>(count);
  }
  return true;
}

// A number as its bytes in memory: both ends are the same program.
std::string_view bytes_of(const std::uint64_t& number) {
  return {reinterpret_cast<const char*>(&number), sizeof number};
}

void serve(int socket, const Work& work) {
  std::uint64_t number = 0;
  while (receive(socket, &number, sizeof number)) {
    const std::string answer = work(number);
    if (!write_all(socket, bytes_of(answer.size())) || !write_all(socket, answer)) return;
  }
}

[[noreturn]] void be_job(int socket, pid_t parent, const std::function<Work()>& prepare) {
  if (prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) != 0 || getppid() != parent) _exit(1);
  try {
    const Work work = prepare();
    if (!work) _exit(1);
    serve(socket, work);
  } catch (...) {  // memory, say; the other process does without
    _exit(1);
  }
  _exit(0);
}

}  // namespace

JobProcess::JobProcess(const std::function<Work()>& prepare) {
  int ends[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return;
  const pid_t parent = getpid();
  process_ = fork();
  if (process_ == 0) {
    (void)close(ends[0]);
    be_job(ends[1], parent, prepare);
  }
  (void)close(ends[1]);
  socket_ = ends[0];
}

JobProcess::~JobProcess() {
  if (socket_ < 0) return;
  (void)shutdown(socket_, SHUT_RDWR);  // later jobs have the socket, too
  (void)close(socket_);
  if (process_ > 0) (void)wait_for(process_);
}

bool JobProcess::give(std::uint64_t number) const {
  return send(socket_, &number, sizeof number, MSG_NOSIGNAL) == static_cast<ssize_t>(sizeof number);
}

std::optional<std::string> JobProcess::take() const {
  std::uint64_t size = 0;
  if (!receive(socket_, &size, sizeof size)) return std::nullopt;
  std::string answer(size, '\0');
  if (!receive(socket_, answer.data(), answer.size())) return std::nullopt;
  return answer;
}

}  // namespace Quarrow::Trial
