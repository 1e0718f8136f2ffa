// Unix and TCP sockets.
#include "server/listener.h"

#include <arpa/inet.h>
#include <grp.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "system/descriptor.h"

namespace Quarrow::Server {
namespace {

// The kernel caps it at net.core.somaxconn.
constexpr int waiting_connections = 4096;

Listener failure(int fd, const std::string& object) {
  const std::string reason = object + ": " + std::strerror(errno);
  if (fd >= 0) (void)close(fd);
  return {-1, reason};
}

int new_socket(int family) { return socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0); }

bool bind_and_listen(int fd, const void* address, socklen_t size) {
  return bind(fd, static_cast<const sockaddr*>(address), size) == 0 &&
         listen(fd, waiting_connections) == 0;
}

// Whether no server answers at the socket at `path`.
bool is_left_over(const std::string& path, const sockaddr_un& address) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return false;
  const Descriptor probe(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  return connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
         errno == ECONNREFUSED;
}

// (gid_t)-1 leaves the group as it is (chown(2)), and stands for an empty name.
std::optional<gid_t> group_id(const std::string& name) {
  if (name.empty()) return static_cast<gid_t>(-1);
  const group* const named = getgrnam(name.c_str());
  if (named == nullptr) return std::nullopt;
  return named->gr_gid;
}

Listener listen_at_path(const std::string& path, const SocketRights& rights) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return {-1, path + ": too long for a socket"};
  std::memcpy(address.sun_path, path.c_str(), path.size());
  const auto group = group_id(rights.group);
  if (!group) return {-1, rights.group + ": there is no such group"};
  if (is_left_over(path, address)) (void)unlink(path.c_str());
  const int fd = new_socket(AF_UNIX);
  const mode_t mask = umask(0177);  // nobody connects before the rights are set
  const bool bound = bind_and_listen(fd, &address, sizeof address);
  umask(mask);
  const bool given = bound && chown(path.c_str(), static_cast<uid_t>(-1), *group) == 0 &&
                     chmod(path.c_str(), rights.mode) == 0;
  return given ? Listener{fd, ""} : failure(fd, path);
}

bool is_loopback(const sockaddr* address) {
  if (address->sa_family == AF_INET)
    return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr) >> 24U == 127;
  return IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
}

Listener listen_on_loopback(const std::string& text, const addrinfo& found) {
  if (!is_loopback(found.ai_addr)) return {-1, text + ": not an address of this host alone"};
  const int fd = new_socket(found.ai_family);
  const int yes = 1;
  (void)setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  return bind_and_listen(fd, found.ai_addr, found.ai_addrlen) ? Listener{fd, ""}
                                                              : failure(fd, text);
}

Listener listen_at_host(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos) return {-1, text + ": neither a path nor address:port"};
  std::string host = text.substr(0, colon);
  if (host.size() > 2 && host.front() == '[' && host.back() == ']')
    host = host.substr(1, host.size() - 2);
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;  // a name could come to mean another host
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int error = getaddrinfo(host.c_str(), text.substr(colon + 1).c_str(), &hints, &found);
  if (error != 0) return {-1, text + ": " + gai_strerror(error)};
  const Listener listener = listen_on_loopback(text, *found);
  freeaddrinfo(found);
  return listener;
}

}  // namespace

bool is_in_file_system(int listener) {
  sockaddr_un address{};
  socklen_t size = sizeof address;
  return getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
         address.sun_family == AF_UNIX && address.sun_path[0] != '\0';
}

bool is_of_this_host_alone(int listener) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  if (getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) return false;
  return address.ss_family == AF_UNIX || is_loopback(reinterpret_cast<const sockaddr*>(&address));
}

Listener listen_at(const std::string& address, const SocketRights& rights) {
  return address.rfind('/', 0) == 0 ? listen_at_path(address, rights) : listen_at_host(address);
}

}  // namespace Quarrow::Server
