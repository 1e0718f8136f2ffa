// Counters of a server, over all its processes.
#ifndef QUARROW_SERVER_COUNTERS_H_
#define QUARROW_SERVER_COUNTERS_H_

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Quarrow::Server {

// How one counter is written in Prometheus' text format.
struct CounterRow {
  const char* name;
  const char* label;  // with braces; may be empty
  const char* help;   // empty but for the first row of a name
};

// How durations are counted: by the first of these bounds that they do not pass.
struct Histogram {
  const char* name;
  const char* help;
  std::vector<std::chrono::microseconds> bounds;  // ascending; another bucket takes the rest
};

// Counters in memory that is shared with the processes forked later. Counting never waits and never
// fails.
class Counters {
 public:
  // Everything at 0. Rows with the same name stand together. The texts outlive this object. Without
  // memory the process ends: it has hardly started.
  explicit Counters(std::vector<CounterRow> rows, std::optional<Histogram> durations = {});
  ~Counters();
  Counters(const Counters&) = delete;
  Counters& operator=(const Counters&) = delete;

  // Adds 1 to the counter of the row with the index `row`.
  void add(std::size_t row);

  // Adds a duration to the histogram, of which there must be one.
  void add_duration(std::chrono::microseconds took);

  // All of it in Prometheus' text format, version 0.0.4.
  std::string text() const;

  // Writes text() to `path`, replacing the file as a whole. Empty, or what went wrong.
  std::string write(const std::string& path) const;

 private:
  using Number = std::atomic<std::uint64_t>;

  std::size_t size() const;
  std::string histogram_text() const;

  const std::vector<CounterRow> rows_;
  const std::optional<Histogram> durations_;
  Number* const numbers_;     // one for each row, then the histogram's
  Number* const buckets_;     // one for each bound, and one for the rest
  Number* const total_time_;  // of all durations, in microseconds
};

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_COUNTERS_H_
