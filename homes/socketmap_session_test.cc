// Conversations, and their ends.
#include <gtest/gtest.h>

#include "homes/limits.h"
#include "homes/socketmap_session_test_support.h"

namespace Quarrow::Homes {
namespace {

const char request[] = "6:user a,";
const char reply[] = "9:OK user a,";

class Socketmap : public testing::Test {
 protected:
  void expect_open(bool open) { EXPECT_EQ(!open, test_.session.is_over()); }

  TestSocketmap test_;
};

TEST_F(Socketmap, AnswersEachRequest) {
  test_.session.greet();
  EXPECT_EQ("", test_.replies);
  test_.say(request);
  EXPECT_EQ(reply, test_.replies);
  test_.say("0:,");
  EXPECT_EQ(std::string(reply) + "3:OK ,", test_.replies);
  expect_open(true);
}

TEST_F(Socketmap, AnswersTheSameHoweverBytesAreCut) {
  for (const char byte : std::string(request) + request) test_.say(std::string(1, byte));
  EXPECT_EQ(std::string(reply) + reply, test_.replies);
  EXPECT_EQ(2U, test_.session.steps());
}

TEST_F(Socketmap, SendsTheRepliesToABlockAtOnce) {
  test_.say(std::string(request) + request + "6:us");
  EXPECT_EQ(std::string(reply) + reply, test_.replies);
  EXPECT_EQ(1U, test_.outputs);
}

TEST_F(Socketmap, KeepsFewReplies) {
  const std::string text(longest_request, 'x');
  std::string block;
  for (int i = 0; i < 20; ++i) block += netstring(text);
  test_.say(block);
  EXPECT_EQ(20U, test_.requests.size());
  EXPECT_LT(1U, test_.outputs);
  expect_open(true);
}

TEST_F(Socketmap, HangsUpOnWhatIsNoRequest) {
  for (const std::string& bytes :
       {std::string("QUIT\r\n"), std::to_string(longest_request + 1), std::string("6:user ab,")}) {
    TestSocketmap test;
    test.say(request + bytes + request);
    EXPECT_EQ(reply, test.replies) << bytes;
    EXPECT_TRUE(test.session.is_over()) << bytes;
    test.say(request);
    EXPECT_EQ(1U, test.requests.size()) << bytes;
  }
}

TEST_F(Socketmap, EndsWhereTheClientIsGone) {
  test_.connected = false;
  test_.say(std::string(request) + request);
  expect_open(false);
  EXPECT_EQ(1U, test_.outputs);
}

TEST_F(Socketmap, GivesWayOnceAllIsAnswered) {
  test_.others_wait = true;
  test_.say("6:us");
  expect_open(true);
  test_.say("er a,6");
  expect_open(true);
  test_.say(":user a,");
  expect_open(false);
  EXPECT_EQ(std::string(reply) + reply, test_.replies);
}

TEST_F(Socketmap, StopsBetweenRequests) {
  test_.session.stop();
  expect_open(false);
}

TEST_F(Socketmap, StopsAfterTheRequestUnderWay) {
  test_.say("6:us");
  test_.session.stop();
  expect_open(true);
  test_.say("er a,");
  expect_open(false);
  EXPECT_EQ(reply, test_.replies);
}

TEST_F(Socketmap, SaysNothingUnasked) {
  const auto expect_silent_end = [](void (SocketmapSession::*end)()) {
    TestSocketmap test;
    test.say("6:us");
    (test.session.*end)();
    EXPECT_TRUE(test.session.is_over());
    test.say("er a,");
    EXPECT_EQ("", test.replies);
    EXPECT_TRUE(test.requests.empty());
  };
  expect_silent_end(&SocketmapSession::time_out);
  expect_silent_end(&SocketmapSession::give_way);
  expect_silent_end(&SocketmapSession::abandon);
}

}  // namespace
}  // namespace Quarrow::Homes
