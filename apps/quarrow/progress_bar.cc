// Drawing of the progress bar.
#include "apps/quarrow/progress_bar.h"

#include <algorithm>
#include <string>

namespace Quarrow::Command {
namespace {

constexpr std::chrono::milliseconds first_delay(1000);
constexpr std::chrono::milliseconds redraw_delay(100);
constexpr std::size_t bar_width = 50;

// To the start of the line, and erase it (ECMA-48: EL).
const char new_line_start[] = "\r\x1B[K";

}  // namespace

ProgressBar::ProgressBar(std::ostream& out, std::uint64_t total, Clock::time_point start)
    : out_(out), total_(std::max<std::uint64_t>(total, 1)), next_(start + first_delay) {}

void ProgressBar::advance(std::uint64_t done, Clock::time_point now) {
  done_ = std::min(done_ + done, total_);
  if (now < next_) return;
  next_ = now + redraw_delay;
  draw();
}

void ProgressBar::draw() {
  const double share = static_cast<double>(done_) / static_cast<double>(total_);
  const auto filled = static_cast<std::size_t>(share * bar_width);
  out_ << new_line_start << '[' << std::string(filled, '#') << std::string(bar_width - filled, '.')
       << "] " << static_cast<int>(share * 100) << " %" << std::flush;
  drawn_ = true;
}

void ProgressBar::finish() {
  if (drawn_) out_ << new_line_start << std::flush;
  drawn_ = false;
}

}  // namespace Quarrow::Command
