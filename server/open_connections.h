// The connections that the workers serve at the moment, over all processes.
#ifndef QUARROW_SERVER_OPEN_CONNECTIONS_H_
#define QUARROW_SERVER_OPEN_CONNECTIONS_H_

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace Quarrow::Server {

// Where a client comes from: 0 for a socket in the file system. All addresses of this host alone
// are one origin, since a client takes which of them it likes, and so is an IPv6 network of 64
// bits.
using Origin = std::uint32_t;
constexpr Origin from_file_system = 0;

// The origin of the client at the other end of `connection`.
Origin origin_of(int connection);

// The origin of a client with this numeric address, such as 192.0.2.1 or 2001:db8::1.
Origin origin_of(const std::string& address);

// A table in memory that is shared with the processes forked later. It is bounded: connections
// beyond four times the workers that there may be are not counted.
class OpenConnections {
 public:
  // Without memory the process ends: it has hardly started.
  OpenConnections();
  ~OpenConnections();
  OpenConnections(const OpenConnections&) = delete;
  OpenConnections& operator=(const OpenConnections&) = delete;

  // From here on the processes that this one forks have no access.
  void hide_from_children() const;

  // `process` serves a client from `origin`.
  void add(pid_t process, Origin origin);

  // `process` serves no client any longer.
  void remove(pid_t process);

  std::size_t count() const;
  std::size_t count_from(Origin origin) const;

 private:
  // The process in the upper half, the origin in the lower one; 0 in a free place.
  using Place = std::atomic<std::uint64_t>;

  Place* const places_;
};

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_OPEN_CONNECTIONS_H_
