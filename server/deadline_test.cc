// How long the server waits for a client.
#include "server/deadline.h"

#include <gtest/gtest.h>

#include "server/limits.h"

namespace Quarrow::Server {
namespace {

using std::chrono::seconds;

const Clock::time_point zero;
const Patience patience{seconds(300), seconds(1800), seconds(30)};

// A client that was silent from `last` on, and began its transaction at zero.
Pace since(seconds last, bool stopping = false) { return {zero + last, zero, {}, {}, stopping}; }

TEST(Deadline, IsTheEarlierOfSilenceAndTheTransactionsEnd) {
  const struct {
    Pace pace;
    seconds want;
  } cases[] = {
      {since(seconds(0)), seconds(300)},
      {since(seconds(200)), seconds(500)},
      {since(seconds(1499)), seconds(1799)},
      {since(seconds(1700)), seconds(1800)},
      {since(seconds(200), /*stopping=*/true), seconds(200) + silence_when_stopping},
  };
  for (const auto& c : cases) EXPECT_EQ(zero + c.want, deadline(c.pace, patience));
}

TEST(Deadline, OfAnAnswerCountsAllAnswersOfTheTransaction) {
  const Clock::time_point now = zero + seconds(1000);
  const auto waited = [](seconds for_room) { return Pace{zero, zero, seconds(50), for_room}; };
  EXPECT_EQ(now + seconds(300), answer_deadline(waited(seconds(0)), patience, now));
  EXPECT_EQ(now + seconds(1), answer_deadline(waited(seconds(299)), patience, now));
  EXPECT_EQ(now, answer_deadline(waited(seconds(300)), patience, now));
}

TEST(Deadline, IsNoLaterForAServerThatStops) {
  const Patience short_patience{seconds(1), seconds(1800), seconds(30)};
  EXPECT_EQ(zero + seconds(1), deadline(since(seconds(0), /*stopping=*/true), short_patience));
}

TEST(Deadline, LetsASlowClientGiveWay) {
  EXPECT_FALSE(is_slow(std::chrono::milliseconds(29999), patience));
  EXPECT_TRUE(is_slow(seconds(30), patience));
}

TEST(Deadline, LooksForOthersOnceTheClientIsSlowAndThenNowAndThen) {
  const Clock::time_point now = zero + seconds(1000);
  EXPECT_EQ(now + seconds(8), next_look(seconds(22), patience, now));
  EXPECT_EQ(now + between_looks, next_look(seconds(30), patience, now));
  EXPECT_EQ(now + between_looks, next_look(seconds(99), patience, now));
}

}  // namespace
}  // namespace Quarrow::Server
