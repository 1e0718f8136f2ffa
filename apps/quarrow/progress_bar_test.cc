// When and what the progress bar draws, on a clock of the unit test's own.
#include "apps/quarrow/progress_bar.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace Quarrow::Command {
namespace {

using std::chrono::milliseconds;

const ProgressBar::Clock::time_point start{};

TEST(ProgressBar, StaysAwayFromShortWork) {
  std::ostringstream out;
  ProgressBar bar(out, 10, start);
  bar.advance(9, start + milliseconds(999));
  bar.finish();
  EXPECT_EQ("", out.str());
}

TEST(ProgressBar, DrawsTheShareDoneAfterASecond) {
  std::ostringstream out;
  ProgressBar bar(out, 10, start);
  bar.advance(5, start + milliseconds(1000));
  EXPECT_EQ("\r\x1B[K[" + std::string(25, '#') + std::string(25, '.') + "] 50 %", out.str());
}

TEST(ProgressBar, DrawsAtMostTenTimesASecond) {
  std::ostringstream out;
  ProgressBar bar(out, 10, start);
  bar.advance(1, start + milliseconds(1000));
  const std::string drawn_once = out.str();
  bar.advance(1, start + milliseconds(1099));
  EXPECT_EQ(drawn_once, out.str());
  bar.advance(1, start + milliseconds(1100));
  EXPECT_GT(out.str().size(), drawn_once.size());
}

TEST(ProgressBar, NeverPassesTheEnd) {
  std::ostringstream out;
  ProgressBar bar(out, 0, start);
  bar.advance(7, start + milliseconds(1000));
  EXPECT_EQ("\r\x1B[K[" + std::string(50, '#') + "] 100 %", out.str());
}

TEST(ProgressBar, SaysHowFastAndHowLong) {
  std::ostringstream out;
  ProgressBar bar(out, 1000, start, "messages");
  bar.advance(10, start + milliseconds(2000));
  EXPECT_EQ("\r\x1B[K[" + std::string(50, '.') + "] 1 %, 5 messages/s, 3 min 18 s left", out.str());
  out.str("");
  bar.advance(990, start + milliseconds(2500));
  EXPECT_EQ("\r\x1B[K[" + std::string(50, '#') + "] 100 %, 400 messages/s, 0 s left", out.str());
}

TEST(ProgressBar, WipesItsLine) {
  std::ostringstream out;
  ProgressBar bar(out, 10, start);
  bar.advance(1, start + milliseconds(1000));
  out.str("");
  bar.finish();
  EXPECT_EQ("\r\x1B[K", out.str());
}

}  // namespace
}  // namespace Quarrow::Command
