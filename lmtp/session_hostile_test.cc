// Clients that mean harm, or went mad.
#include <gtest/gtest.h>

#include "lmtp/session_test_support.h"
#include "server/limits.h"

namespace Quarrow::Lmtp {
namespace {

constexpr std::size_t mebibyte = 1048576;

std::string ending_of(const std::string& replies, std::size_t length) {
  return replies.size() < length ? replies : replies.substr(replies.size() - length);
}

TEST(HostileSession, AnswersACommandOfAMebibyteOnce) {
  TestSession test;
  test.say("LHLO " + std::string(mebibyte, 'x') + "\r\nNOOP\r\n");
  EXPECT_EQ("500 5.5.2, 250 2.0.0", test.codes());
}

TEST(HostileSession, RefusesALineOfAMebibyteAndStaysInStep) {
  TestSession test;
  test.say(ready);
  test.replies.clear();
  test.say("Subject: " + std::string(mebibyte, 'x') + "\r\n\r\n.\r\nNOOP\r\n");
  EXPECT_EQ("554 5.5.2, 250 2.0.0", test.codes());
  EXPECT_EQ(0U, test.handler.message.size());
}

TEST(HostileSession, TakesNulBytesInMessagesOnly) {
  TestSession test;
  test.say(std::string("NO\0OP\r\n", 7));
  EXPECT_EQ("500 5.5.2", test.codes());
  test.say(ready + std::string("a\0b\r\n.\r\n", 8));
  EXPECT_EQ(std::string("a\0b\n", 4), test.handler.message);
}

TEST(HostileSession, EndsASearchForRecipients) {
  TestSession test;
  test.say(start + repeated("RCPT TO:<nobody@example.org>\r\n", 100000));
  EXPECT_TRUE(test.session.is_over());
  EXPECT_EQ("550 5.1.1, 421 4.7.0", ending_of(test.codes(), 20));
}

TEST(HostileSession, EndsAfterTooManyAcceptedRecipients) {
  TestSession test;
  test.say(start + repeated("RCPT TO:<a@example.org>\r\n", 100000));
  EXPECT_TRUE(test.session.is_over());
  EXPECT_EQ("452 4.5.3, 421 4.7.0", ending_of(test.codes(), 20));
}

TEST(HostileSession, EndsAfterTooManyErrors) {
  TestSession test;
  test.say(repeated("FLY\r\n", most_errors - 1));
  EXPECT_FALSE(test.session.is_over());
  test.say("FLY\r\n");
  EXPECT_TRUE(test.session.is_over());
  EXPECT_EQ("500 5.5.1, 421 4.7.0", ending_of(test.codes(), 20));
}

TEST(HostileSession, EndsWhenNothingComesOfManyCommands) {
  for (const char* const command : {"NOOP\r\n", "RSET\r\n", "VRFY x\r\n", "LHLO x\r\n"}) {
    TestSession test;
    test.say(repeated(command, most_idle_commands - 1));
    EXPECT_FALSE(test.session.is_over()) << command;
    test.say(command);
    EXPECT_TRUE(test.session.is_over()) << command;
  }
}

TEST(HostileSession, ForgivesWithEachMessage) {
  TestSession test;
  const std::string message = "MAIL FROM:<>\r\nRCPT TO:<a@example.org>\r\nDATA\r\nx\r\n.\r\n";
  test.say("LHLO x\r\n");
  for (unsigned i = 0; i < 3 * most_errors; ++i) test.say("FLY\r\nNOOP\r\nNOOP\r\n" + message);
  EXPECT_FALSE(test.session.is_over());
  EXPECT_EQ(3 * most_errors, test.handler.deliveries.size());
}

TEST(HostileSession, KeepsNoMoreOfAMessageThanABlock) {
  TestSession test;
  test.say(ready);
  const std::string block = repeated(std::string(70, 'x') + "\r\n", Server::block_size / 72);
  for (int i = 0; i < 32; ++i) test.say(block);
  EXPECT_GE(Server::block_size, test.handler.most_at_a_time);
}

TEST(HostileSession, SurvivesAnEndAtEveryByte) {
  const std::string talk = ready + "Subject: x\r\n\r\n..\r\n.\r\nQUIT\r\n";
  const std::size_t delivered_at = talk.size() - 6;
  for (std::size_t length = 0; length <= talk.size(); ++length) {
    TestSession test;
    test.say(talk.substr(0, length));
    test.session.abandon();
    EXPECT_TRUE(test.session.is_over());
    EXPECT_EQ(length >= delivered_at ? 1U : 0U, test.handler.deliveries.size()) << length;
    EXPECT_FALSE(test.handler.open) << length;
  }
}

}  // namespace
}  // namespace Quarrow::Lmtp
