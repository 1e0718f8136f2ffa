// A process that looks at what may hang, such as a disk, for one that must not.
#ifndef QUARROW_MONITORING_WATCH_H_
#define QUARROW_MONITORING_WATCH_H_

#include <chrono>
#include <functional>
#include <string>

#include "server/deadline.h"

namespace Quarrow::Monitoring {

// Gives why the server can do no work, a line; empty when it can. It may take its time.
using Look = std::function<std::string()>;

// How often to look, and how long one look may take.
struct WatchPace {
  std::chrono::milliseconds between = std::chrono::seconds(5);
  std::chrono::milliseconds longest_look = std::chrono::seconds(10);
};

class Watch {
 public:
  // Starts a process that calls `look` again and again, as long as this process lives. Without one
  // this process ends: it has hardly started.
  explicit Watch(const Look& look, const WatchPace& pace = {});
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  // What the last look found; a fault, too, when one takes too long. Never waits.
  // Where the other process has ended, this one ends as well: who is confined can't start another.
  std::string fault();

 private:
  const std::chrono::milliseconds patience_;
  int socket_ = -1;
  std::string found_;
  Server::Clock::time_point heard_;
};

}  // namespace Quarrow::Monitoring

#endif  // QUARROW_MONITORING_WATCH_H_
