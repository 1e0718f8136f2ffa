// A table without locks: a process that is killed leaves its place taken, but nothing locked.
#include "server/open_connections.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>
#include <string_view>

namespace Quarrow::Server {
namespace {

using PackedConnection = std::uint64_t;
static_assert(std::atomic<PackedConnection>::is_always_lock_free, "processes share no lock");

constexpr std::size_t most_connections = 4000;
constexpr std::size_t size_of_table = most_connections * sizeof(std::atomic<PackedConnection>);

constexpr Origin from_this_host = 1;

pid_t process_in(PackedConnection place) { return static_cast<pid_t>(place >> 32U); }
Origin origin_in(PackedConnection place) { return static_cast<Origin>(place); }

// Never one of the two that stand for themselves.
Origin origin_of_network(const void* address, std::size_t size) {
  const std::string_view bytes(static_cast<const char*>(address), size);
  return static_cast<Origin>(std::hash<std::string_view>()(bytes)) | 2U;
}

Origin origin_of(const in_addr& address) {
  const bool is_loopback = ntohl(address.s_addr) >> 24U == 127;
  return is_loopback ? from_this_host : origin_of_network(&address, sizeof address);
}

Origin origin_of(const in6_addr& address) {
  if (IN6_IS_ADDR_V4MAPPED(&address)) return origin_of(in_addr{address.s6_addr32[3]});
  return IN6_IS_ADDR_LOOPBACK(&address) ? from_this_host : origin_of_network(&address, 8);
}

}  // namespace

Origin origin_of(int connection) {
  sockaddr_storage peer{};
  socklen_t size = sizeof peer;
  if (getpeername(connection, reinterpret_cast<sockaddr*>(&peer), &size) != 0)
    return from_file_system;  // it is gone already
  if (peer.ss_family == AF_INET)
    return origin_of(reinterpret_cast<const sockaddr_in*>(&peer)->sin_addr);
  if (peer.ss_family == AF_INET6)
    return origin_of(reinterpret_cast<const sockaddr_in6*>(&peer)->sin6_addr);
  return from_file_system;
}

Origin origin_of(const std::string& address) {
  in_addr v4{};
  if (inet_pton(AF_INET, address.c_str(), &v4) == 1) return origin_of(v4);
  in6_addr v6{};
  (void)inet_pton(AF_INET6, address.c_str(), &v6);
  return origin_of(v6);
}

OpenConnections::OpenConnections()
    : places_([] {
        void* const memory =
            mmap(nullptr, size_of_table, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) std::abort();
        return new (memory) Place[most_connections]();
      }()) {}

OpenConnections::~OpenConnections() { (void)munmap(places_, size_of_table); }

void OpenConnections::hide_from_children() const {
  (void)madvise(places_, size_of_table, MADV_DONTFORK);  // fails for memory that is not there
}

void OpenConnections::add(pid_t process, Origin origin) {
  const PackedConnection taken = static_cast<PackedConnection>(process) << 32U | origin;
  for (Place* place = places_; place != places_ + most_connections; ++place) {
    PackedConnection free = 0;
    if (place->compare_exchange_strong(free, taken)) return;
  }
}

void OpenConnections::remove(pid_t process) {
  for (Place* place = places_; place != places_ + most_connections; ++place)
    if (process_in(*place) == process) *place = 0;
}

std::size_t OpenConnections::count() const {
  return static_cast<std::size_t>(std::count_if(
      places_, places_ + most_connections, [](const Place& place) { return place != 0; }));
}

std::size_t OpenConnections::count_from(Origin origin) const {
  const auto is_from = [origin](const Place& place) {
    const PackedConnection taken = place;
    return taken != 0 && origin_in(taken) == origin;
  };
  return static_cast<std::size_t>(std::count_if(places_, places_ + most_connections, is_from));
}

}  // namespace Quarrow::Server
