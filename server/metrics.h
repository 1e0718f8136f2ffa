// What the server counts, over all its processes.
#ifndef QUARROW_SERVER_METRICS_H_
#define QUARROW_SERVER_METRICS_H_

#include <chrono>
#include <cstddef>
#include <string>

namespace Quarrow::Server {

enum class Counter : std::size_t {
  delivered_inbox,     // copies in inboxes
  delivered_other,     // copies in other folders
  rejected,            // refused by a rule
  discarded,           // thrown away by a rule
  looped,              // refused, since they came back to the recipient
  kept_without_rule,   // in the inbox, because there are no rules or none matched
  kept_after_failure,  // in the inbox, because a script, an evaluation or a folder failed
  temporary_failure,   // answered 4xx
  unknown_recipient,   // refused at RCPT
  workers_replaced,    // that ended unasked
  count                // how many there are
};

// Counters in memory that the processes forked later share. Counting never waits and never fails.
class Metrics {
 public:
  // Everything at 0. Without memory the process ends: it has hardly started.
  Metrics();
  ~Metrics();
  Metrics(const Metrics&) = delete;
  Metrics& operator=(const Metrics&) = delete;

  void add(Counter counter);

  // Adds the duration of an evaluation to the histogram.
  void add_evaluation(std::chrono::microseconds took);

  // All of it in Prometheus' text format, version 0.0.4.
  std::string text() const;

  // Writes text() to `path`, replacing the file as a whole. Empty, or what went wrong.
  std::string write(const std::string& path) const;

 private:
  struct Shared;
  Shared* const shared_;
};

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_METRICS_H_
