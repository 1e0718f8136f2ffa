// Drawing of the progress bar.
#include "apps/quarrow/progress_bar.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <utility>

namespace Quarrow::Command {
namespace {

constexpr std::chrono::milliseconds first_delay(1000);
constexpr std::chrono::milliseconds redraw_delay(100);
constexpr std::size_t bar_width = 50;

// To the start of the line, and erase it (ECMA-48: EL).
const char new_line_start[] = "\r\x1B[K";

}  // namespace

ProgressBar::ProgressBar(std::ostream& out, std::uint64_t total, Clock::time_point start,
                         std::string unit)
    : out_(out),
      total_(std::max<std::uint64_t>(total, 1)),
      start_(start),
      unit_(std::move(unit)),
      next_(start + first_delay) {}

void ProgressBar::advance(std::uint64_t done, Clock::time_point now) {
  done_ = std::min(done_ + done, total_);
  if (now < next_) return;
  next_ = now + redraw_delay;
  draw(now);
}

std::string ProgressBar::rate(Clock::time_point now) const {
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const double per_second = static_cast<double>(done_) / seconds;
  if (unit_.empty() || !(per_second > 0)) return "";
  const auto rest =
      static_cast<std::uint64_t>(std::ceil(static_cast<double>(total_ - done_) / per_second));
  std::ostringstream text;
  text << ", " << static_cast<std::uint64_t>(per_second) << ' ' << unit_ << "/s, ";
  if (rest >= 60) text << rest / 60 << " min ";
  text << rest % 60 << " s left";
  return text.str();
}

void ProgressBar::draw(Clock::time_point now) {
  const double share = static_cast<double>(done_) / static_cast<double>(total_);
  const auto filled = static_cast<std::size_t>(share * bar_width);
  out_ << new_line_start << '[' << std::string(filled, '#') << std::string(bar_width - filled, '.')
       << "] " << static_cast<int>(share * 100) << " %" << rate(now) << std::flush;
  drawn_ = true;
}

void ProgressBar::finish() {
  if (drawn_) out_ << new_line_start << std::flush;
  drawn_ = false;
}

}  // namespace Quarrow::Command
