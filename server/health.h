// What the server tells of itself when it is asked, although all workers are busy.
#ifndef QUARROW_SERVER_HEALTH_H_
#define QUARROW_SERVER_HEALTH_H_

#include <chrono>
#include <cstddef>
#include <string>

namespace Quarrow::Server {

struct Health {
  std::size_t workers = 0;   // that are alive, and not told to stop
  std::size_t busy = 0;      // workers that serve a client, those that were told to stop, too
  bool others_wait = false;  // clients wait for a worker
  std::chrono::seconds uptime{};
  bool is_stopping = false;  // the server was told to stop
};

// A line: "workers=10 busy=3 waiting=no uptime=86400", with its line end.
std::string text_of(const Health& health);

// Says `text` to a client that comes to `listener`, and hangs up. Never waits: a client that is
// gone, or that does not read, gets less.
void answer_at(int listener, const std::string& text);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_HEALTH_H_
