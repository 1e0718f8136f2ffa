// Stands in for the front of a worker in a server that is built with it: does what a request could
// do that has taken its worker over. The path of a request says what is tried, its body tells on
// what, and the answer says what came of it.
#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "system/descriptor_passing.h"
#include "web_server/front.h"

namespace Quarrow::WebServer {
namespace {

std::string outcome(long result) {
  return result >= 0 ? "done" : "refused " + std::to_string(errno);
}

pid_t process_in(const std::string& text) {
  return static_cast<pid_t>(std::strtol(text.c_str(), nullptr, 10));
}

bool is_socket(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 && S_ISSOCK(status.st_mode);
}

// Passes for one more worker over each socket that is there; how many took that for a packet.
std::string introduce() {
  int taken = 0;
  for (int fd = 3; fd < 64; ++fd) {
    int type = 0;
    socklen_t size = sizeof type;
    if (!is_socket(fd) || getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) != 0) continue;
    if (type == SOCK_SEQPACKET) taken += send_descriptor(fd, 0, fd) ? 1 : 0;
  }
  return "taken " + std::to_string(taken);
}

// Sockets of a pair have no name; those of clients do.
bool has_name(int fd) {
  sockaddr_storage name = {};
  socklen_t size = sizeof name;
  return getsockname(fd, reinterpret_cast<sockaddr*>(&name), &size) == 0 &&
         size > sizeof(sa_family_t);
}

// Sends the broker a packet that is no call.
std::string babble() {
  const std::string nonsense("\x08\0\0\0\0\0\0\0nonsense", 16);
  int said = 0;
  for (int fd = 3; fd < 64; ++fd)
    if (is_socket(fd) && !has_name(fd)) said += send(fd, nonsense.data(), 16, MSG_NOSIGNAL) == 16;
  return "said " + std::to_string(said);
}

Call call_with(Call::Kind kind, const std::string& user) {
  Call call;
  call.kind = kind;
  call.proxy_user = user;
  call.user = user;
  call.session = user;
  call.token = user;
  call.request = {"GET", "/api/v1/rules", {}, ""};
  return call;
}

using Deed = std::function<std::string(const std::string& about)>;

const std::map<std::string, Deed> deeds = {
    {"/open", [](const auto& path) { return outcome(open(path.c_str(), O_RDONLY | O_CLOEXEC)); }},
    {"/write",
     [](const auto& path) { return outcome(open(path.c_str(), O_WRONLY | O_CREAT, 0600)); }},
    {"/list", [](const auto& path) { return outcome(open(path.c_str(), O_RDONLY | O_DIRECTORY)); }},
    {"/remove", [](const auto& path) { return outcome(unlink(path.c_str())); }},
    {"/execute",
     [](const auto& path) { return outcome(execl(path.c_str(), path.c_str(), nullptr)); }},
    {"/kill", [](const auto& process) { return outcome(kill(process_in(process), SIGKILL)); }},
    {"/trace",
     [](const auto& process) {
       return outcome(ptrace(PTRACE_ATTACH, process_in(process), nullptr, nullptr));
     }},
    {"/superuser", [](const auto&) { return outcome(setuid(0)); }},
    {"/introduce", [](const auto&) { return introduce(); }},
    {"/babble", [](const auto&) { return babble(); }},
};

}  // namespace

Front::Front(Ask ask, bool trusts_proxy_user, const PageFiles& page)
    : ask_(std::move(ask)), trusts_proxy_user_(trusts_proxy_user), page_(page) {}

// "/ask" asks the broker for what is another user's.
Http::Response Front::answer(const Http::Request& request) const {
  if (request.target == "/ask") return ask_(call_with(Call::Kind::work, request.body));
  if (request.target == "/session") return ask_(call_with(Call::Kind::show_session, request.body));
  const auto deed = deeds.find(request.target);
  return {200, {}, deed != deeds.end() ? deed->second(request.body) : "nothing"};
}

}  // namespace Quarrow::WebServer
