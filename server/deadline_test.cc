// How long the server waits for a client.
#include "server/deadline.h"

#include <gtest/gtest.h>

#include "server/limits.h"

namespace Quarrow::Server {
namespace {

TEST(Deadline, IsTheEarlierOfSilenceAndNoProgress) {
  const Clock::time_point zero;
  const struct {
    Pace pace;
    std::chrono::seconds want;
  } cases[] = {
      {{zero, zero, false, false}, silence},
      {{zero + silence / 2, zero, false, false}, silence},
      {{zero + silence, zero, true, false}, 2 * silence},
      {{zero + longest_transfer, zero, true, false}, longest_transfer},
      {{zero, zero, true, true}, silence_when_stopping},
  };
  for (const auto& c : cases) EXPECT_EQ(zero + c.want, deadline(c.pace)) << c.want.count();
}

}  // namespace
}  // namespace Quarrow::Server
