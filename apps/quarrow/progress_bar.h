// A line that shows how far long work has come.
#ifndef QUARROW_APPS_QUARROW_PROGRESS_BAR_H_
#define QUARROW_APPS_QUARROW_PROGRESS_BAR_H_

#include <chrono>
#include <cstdint>
#include <ostream>
#include <string>

namespace Quarrow::Command {

// Draws on one line of a terminal, from one second after the start on and at most ten times a
// second.
class ProgressBar {
 public:
  using Clock = std::chrono::steady_clock;

  // `total` units of work begin at `start`. With `unit`, what they are called, the line also has
  // how many of them are done a second, and how much time the others take at that rate.
  ProgressBar(std::ostream& out, std::uint64_t total, Clock::time_point start,
              std::string unit = "");

  // `done` further units are done at `now`.
  void advance(std::uint64_t done, Clock::time_point now);

  // Wipes the line, if there is one.
  void finish();

 private:
  void draw(Clock::time_point now);
  std::string rate(Clock::time_point now) const;

  std::ostream& out_;
  std::uint64_t total_;
  std::uint64_t done_ = 0;
  const Clock::time_point start_;
  const std::string unit_;
  Clock::time_point next_;  // when to draw again
  bool drawn_ = false;
};

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_PROGRESS_BAR_H_
