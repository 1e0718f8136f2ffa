// The protocol, command by command.
#include "lmtp/session.h"

#include <gtest/gtest.h>

#include "lmtp/session_test_support.h"

namespace Quarrow::Lmtp {
namespace {

TEST(Session, GreetsWithItsName) {
  TestSession test;
  test.session.greet();
  EXPECT_EQ("220 mx.example.org LMTP Quarrow\r\n", test.replies);
}

TEST(Session, NamesItsExtensions) {
  Limits limits;
  limits.message = 12345;
  TestSession test(limits);
  test.say(hello);
  EXPECT_EQ(
      "250-mx.example.org\r\n250-PIPELINING\r\n250-ENHANCEDSTATUSCODES\r\n250-8BITMIME\r\n"
      "250-SIZE 12345\r\n250 SMTPUTF8\r\n",
      test.replies);
}

// A command, and the codes of its replies.
const struct {
  const char* said;
  const char* answered;
} commands[] = {
    {"HELO x\r\n", "500 5.5.1"},
    {"EHLO x\r\n", "500 5.5.1"},
    {"LHLO\r\n", "501 5.5.4"},
    {"lhlo x\r\n", "250"},
    {"FLY\r\n", "500 5.5.1"},
    {"\r\n", "500 5.5.1"},
    {"EXPN list\r\n", "502 5.5.1"},
    {"STARTTLS\r\n", "502 5.5.1"},
    {"NOOP\r\n", "250 2.0.0"},
    {"NOOP anything\r\n", "250 2.0.0"},
    {"RSET\r\n", "250 2.0.0"},
    {"RSET now\r\n", "501 5.5.4"},
    {"VRFY a@example.org\r\n", "252 2.0.0"},
    {"VRFY\r\n", "501 5.5.4"},
    {"QUIT\r\n", "221 2.0.0"},
    {"QUIT now\r\n", "501 5.5.4"},
    {"QUIT \r\n", "221 2.0.0"},
    {"MAIL FROM:<>\r\n", "503 5.5.1"},
    {"RCPT TO:<a@example.org>\r\n", "503 5.5.1"},
    {"DATA\r\n", "503 5.5.1"},
    {"NOOP\n", "500 5.5.2"},
    {"NO\rOP\r\n", "500 5.5.2"},
    {"NOOP\nNOOP\r\n", "500 5.5.2, 250 2.0.0"},
    {"NOOP\x01\r\n", "500 5.5.2"},
};

TEST(Session, AnswersEachCommand) {
  for (const auto& c : commands) {
    TestSession test;
    test.say(c.said);
    EXPECT_EQ(c.answered, test.codes()) << c.said;
  }
}

// Arguments of MAIL where a message may have 1000 bytes, and the code of the reply.
const struct {
  const char* arguments;
  const char* answered;
} senders[] = {
    {"FROM:<s@example.net>", "250 2.1.0"},
    {"from:<s@example.net>", "250 2.1.0"},
    {"FROM: <s@example.net>", "250 2.1.0"},
    {"FROM:<>", "250 2.1.0"},
    {"FROM:<s@example.net> SIZE=1000", "250 2.1.0"},
    {"FROM:<s@example.net> SIZE=1001", "552 5.3.4"},
    {"FROM:<s@example.net> SIZE=99999999999999999999", "552 5.3.4"},
    {"FROM:<s@example.net> SIZE=999999999999999999999", "501 5.5.4"},
    {"FROM:<s@example.net> SIZE=-1", "501 5.5.4"},
    {"FROM:<s@example.net> SIZE", "501 5.5.4"},
    {"FROM:<s@example.net> SIZE=1 SIZE=2", "501 5.5.4"},
    {"FROM:<s@example.net> BODY=8BITMIME size=5 SMTPUTF8", "250 2.1.0"},
    {"FROM:<s@example.net> BODY=7bit", "250 2.1.0"},
    {"FROM:<s@example.net> BODY=BINARYMIME", "501 5.5.4"},
    {"FROM:<s@example.net> SMTPUTF8=yes", "501 5.5.4"},
    {"FROM:<s@example.net> RET=HDRS", "555 5.5.4"},
    {"FROM:<s@example.net>SIZE=5", "501 5.5.4"},
    {"FROM:s@example.net", "501 5.5.4"},
    {"TO:<s@example.net>", "501 5.5.4"},
    {"", "501 5.5.4"},
    {"FROM:<\xc3\xa4@example.net>", "553 5.6.7"},
    {"FROM:<\xc3\xa4@example.net> SMTPUTF8", "250 2.1.0"},
    {"FROM:<\xe4@example.net> SMTPUTF8", "501 5.1.7"},
};

TEST(Session, AnswersMail) {
  Limits limits;
  limits.message = 1000;
  for (const auto& c : senders) {
    TestSession test(limits);
    test.say(hello + "MAIL " + c.arguments + "\r\n");
    EXPECT_EQ(std::string("250, ") + c.answered, test.codes()) << c.arguments;
  }
}

// Arguments of RCPT, and the code of the reply.
const struct {
  const char* arguments;
  const char* answered;
} recipients[] = {
    {"TO:<a@example.org>", "250 2.1.5"},        {"TO:<nobody@example.org>", "550 5.1.1"},
    {"TO:<later@example.org>", "451 4.3.0"},    {"TO:<>", "501 5.1.3"},
    {"TO:a@example.org", "501 5.5.4"},          {"TO:<a@example.org> NOTIFY=NEVER", "555 5.5.4"},
    {"TO:<\xc3\xa4@example.org>", "553 5.6.7"}, {"TO:<\xe4@example.org>", "501 5.1.3"},
};

TEST(Session, AnswersRecipients) {
  for (const auto& c : recipients) {
    TestSession test;
    test.say(start + "RCPT " + c.arguments + "\r\n");
    EXPECT_EQ(std::string("250, 250 2.1.0, ") + c.answered, test.codes()) << c.arguments;
  }
}

TEST(Session, TakesEightBitRecipientsWithSmtpUtf8) {
  TestSession test;
  test.say(hello + "MAIL FROM:<> SMTPUTF8\r\nRCPT TO:<\xc3\xa4@example.org>\r\n");
  EXPECT_EQ("250, 250 2.1.0, 250 2.1.5", test.codes());
}

TEST(Session, TakesOneSenderAtATime) {
  TestSession test;
  test.say(start + "MAIL FROM:<>\r\nRSET\r\nMAIL FROM:<>\r\n");
  EXPECT_EQ("250, 250 2.1.0, 503 5.5.1, 250 2.0.0, 250 2.1.0", test.codes());
}

TEST(Session, ForgetsTheSenderWithAnotherGreeting) {
  TestSession test;
  test.say(start + hello + "RCPT TO:<a@example.org>\r\nMAIL FROM:<>\r\n");
  EXPECT_EQ("250, 250 2.1.0, 250, 503 5.5.1, 250 2.1.0", test.codes());
}

TEST(Session, RefusesDataWithoutARecipient) {
  TestSession test;
  test.say(start + "DATA\r\nRCPT TO:<nobody@example.org>\r\nDATA\r\n");
  EXPECT_EQ("250, 250 2.1.0, 503 5.5.1, 550 5.1.1, 503 5.5.1", test.codes());
}

TEST(Session, RefusesArgumentsOfData) {
  TestSession test;
  test.say(start + "RCPT TO:<a@example.org>\r\nDATA now\r\n");
  EXPECT_EQ("250, 250 2.1.0, 250 2.1.5, 501 5.5.4", test.codes());
}

TEST(Session, RefusesRecipientsBeyondTheLimit) {
  Limits limits;
  limits.recipients = 2;
  TestSession test(limits);
  test.say(start + repeated("RCPT TO:<a@example.org>\r\n", 3));
  EXPECT_EQ("250, 250 2.1.0, 250 2.1.5, 250 2.1.5, 452 4.5.3", test.codes());
}

TEST(Session, AnswersForEachRecipientInOrder) {
  TestSession test;
  test.say(start +
           "RCPT TO:<full@example.org>\r\nRCPT TO:<nobody@example.org>\r\n"
           "RCPT TO:<a@example.org>\r\nRCPT TO:<refuses@example.org>\r\nDATA\r\n");
  test.replies.clear();
  test.say("Subject: x\r\n\r\n..\r\n.\r\n");
  EXPECT_EQ("451 4.3.0, 250 2.0.0, 550 5.7.1", test.codes());
  EXPECT_EQ((std::vector<std::string>{"s@example.net to full@example.org: Subject: x\n\n.\n",
                                      "s@example.net to a@example.org: Subject: x\n\n.\n",
                                      "s@example.net to refuses@example.org: Subject: x\n\n.\n"}),
            test.handler.deliveries);
}

TEST(Session, AnswersTwiceForARecipientNamedTwice) {
  TestSession test;
  test.say(start + "RCPT TO:<full@example.org>\r\nRCPT TO:<a@example.org>\r\n");
  test.say("RCPT TO:<full@example.org>\r\nDATA\r\n");
  test.replies.clear();
  test.say("x\r\n.\r\n");
  EXPECT_EQ("451 4.3.0, 250 2.0.0, 451 4.3.0", test.codes());
  EXPECT_EQ(2U, test.handler.deliveries.size());
}

TEST(Session, AnswersTwiceForARecipientNamedInTwoSpellings) {
  TestSession test;
  test.say(start + "RCPT TO:<A@example.org>\r\nRCPT TO:<B@example.org>\r\n");
  test.say("RCPT TO:<a@example.org>\r\nRCPT TO:<b@example.org>\r\nDATA\r\n");
  test.replies.clear();
  test.say("x\r\n.\r\n");
  EXPECT_EQ("250 2.0.0, 250 2.0.0, 250 2.0.0, 250 2.0.0", test.codes());
  EXPECT_EQ((std::vector<std::string>{"s@example.net to A@example.org: x\n",
                                      "s@example.net to B@example.org: x\n",
                                      "s@example.net to b@example.org: x\n"}),
            test.handler.deliveries);
}

TEST(Session, IsReadyForAnotherMessage) {
  TestSession test;
  test.say(ready + "one\r\n.\r\n");
  test.say("MAIL FROM:<>\r\nRCPT TO:<b@example.org>\r\nDATA\r\ntwo\r\n.\r\nDATA\r\n");
  EXPECT_EQ((std::vector<std::string>{"s@example.net to a@example.org: one\n",
                                      " to b@example.org: two\n"}),
            test.handler.deliveries);
  EXPECT_EQ(
      "250, 250 2.1.0, 250 2.1.5, 354, 250 2.0.0, 250 2.1.0, 250 2.1.5, 354, 250 2.0.0, "
      "503 5.5.1",
      test.codes());
}

TEST(Session, RefusesWhatMayBeReadAsTwoMessages) {
  for (const char* const trick : {"\n.\n", "\n.\r\n", "\r\n.\n", "a\nb"}) {
    TestSession test;
    test.say(ready);
    test.replies.clear();
    test.say("x" + std::string(trick) + "MAIL FROM:<evil@example.net>\r\n.\r\nNOOP\r\n");
    EXPECT_EQ("554 5.6.0, 250 2.0.0", test.codes()) << trick;
    EXPECT_TRUE(test.handler.deliveries.empty()) << trick;
  }
}

TEST(Session, RefusesMessagesBeyondTheLimits) {
  Limits limits;
  limits.message = 20;
  limits.line = 12;
  const struct {
    const char* message;
    const char* answered;
  } cases[] = {
      {"0123456789\r\n", "250 2.0.0"},
      {"01234567890\r\n", "554 5.5.2"},
      {".0123456789\r\n", "250 2.0.0"},
      {"01234567\r\n01234567\r\n", "250 2.0.0"},
      {"01234567\r\n012345678\r\n", "552 5.3.4"},
  };
  for (const auto& c : cases) {
    TestSession test(limits);
    test.say(ready);
    test.replies.clear();
    test.say(c.message + std::string(".\r\nNOOP\r\n"));
    EXPECT_EQ(std::string(c.answered) + ", 250 2.0.0", test.codes()) << c.message;
  }
}

TEST(Session, AsksToTryAgainWhenTheDiskIsFull) {
  TestSession test;
  test.handler.room = 3;
  test.say(start + "RCPT TO:<a@example.org>\r\nRCPT TO:<b@example.org>\r\nDATA\r\n");
  test.replies.clear();
  test.say("four\r\n.\r\nNOOP\r\n");
  EXPECT_EQ("452 4.3.1, 452 4.3.1, 250 2.0.0", test.codes());
  EXPECT_TRUE(test.handler.deliveries.empty());
}

TEST(Session, RefusesDataWithoutRoom) {
  TestSession test;
  test.handler.has_room = false;
  test.say(ready + "NOOP\r\n");
  EXPECT_EQ("250, 250 2.1.0, 250 2.1.5, 452 4.3.1, 250 2.0.0", test.codes());
}

TEST(Session, LetsNoTextBecomeAReply) {
  TestSession test;
  test.say(start + "RCPT TO:<refuses@example.org>\r\nDATA\r\n");
  test.replies.clear();
  test.say(".\r\n");
  EXPECT_EQ("550 5.7.1 go  250 away\r\n", test.replies);
}

TEST(Session, AnswersAlikeHoweverBytesComeIn) {
  const std::string talk =
      "NOOP\r\n" + start +
      "RCPT TO:<a@example.org>\r\nRCPT TO:<nobody@example.org>\r\nDATA\r\n"
      "Subject: x\r\n\r\n.\r.\r\n..dots\r\n.x\r\n\r\r\n.\r\nRSET\r\nHELO\r\nNOOP\n" +
      std::string(5000, 'x') +
      "\r\nMAIL FROM:<>\r\nRCPT TO:<b@example.org>\r\nDATA\r\na\nb\r\n.\r\nQUIT\r\nNOOP\r\n";
  TestSession whole;
  whole.say(talk);
  EXPECT_EQ(
      "250 2.0.0, 250, 250 2.1.0, 250 2.1.5, 550 5.1.1, 354, 250 2.0.0, 250 2.0.0, 500 5.5.1, "
      "500 5.5.2, 500 5.5.2, 250 2.1.0, 250 2.1.5, 354, 554 5.6.0, 221 2.0.0",
      whole.codes());
  for (const std::size_t block : {1U, 2U, 3U, 7U, 64U, 1000U}) {
    TestSession test;
    for (std::size_t at = 0; at < talk.size(); at += block) test.say(talk.substr(at, block));
    EXPECT_EQ(whole.replies, test.replies) << block;
    EXPECT_EQ(whole.handler.deliveries, test.handler.deliveries) << block;
  }
}

TEST(Session, StopsAtOnceWhenNothingIsUnderWay) {
  TestSession test;
  test.say(hello);
  test.session.stop();
  EXPECT_EQ("250, 421 4.3.2", test.codes());
  EXPECT_TRUE(test.session.is_over());
}

TEST(Session, FinishesATransactionBeforeItStops) {
  TestSession test;
  test.say(ready);
  test.session.stop();
  EXPECT_FALSE(test.session.is_over());
  test.say("x\r\n.\r\n");
  EXPECT_EQ("250, 250 2.1.0, 250 2.1.5, 354, 250 2.0.0, 421 4.3.2", test.codes());
  EXPECT_TRUE(test.session.is_over());
}

TEST(Session, StopsAfterAResetTransaction) {
  TestSession test;
  test.say(start);
  test.session.stop();
  test.say("RSET\r\nNOOP\r\n");
  EXPECT_EQ("250, 250 2.1.0, 250 2.0.0, 421 4.3.2", test.codes());
}

TEST(Session, HangsUpOnAMessageWithoutEnd) {
  Limits limits;
  limits.message = 100;
  for (const std::string line : {"0123456\r\n", "012345678"}) {
    TestSession test(limits);
    test.say(ready);
    for (int i = 0; i < 180; ++i) test.say(line);
    EXPECT_FALSE(test.session.is_over());
    for (int i = 0; i < 180 && !test.session.is_over(); ++i) test.say(line);
    EXPECT_EQ("250, 250 2.1.0, 250 2.1.5, 354, 421 4.7.0", test.codes()) << line;
    EXPECT_TRUE(test.session.is_over());
  }
}

TEST(Session, HangsUpOnACommandWithoutEnd) {
  Limits limits;
  limits.message = 100;
  TestSession test(limits);
  test.say(std::string(longest_command, 'x'));
  test.say(std::string(1600, 'x'));
  EXPECT_FALSE(test.session.is_over());
  for (int i = 0; i < 100 && !test.session.is_over(); ++i) test.say("xxx");
  EXPECT_EQ("421 4.7.0", test.codes());
  EXPECT_TRUE(test.session.is_over());
}

TEST(Session, TellsASilentClient) {
  TestSession test;
  test.session.time_out();
  EXPECT_EQ("421 4.4.2", test.codes());
  EXPECT_TRUE(test.session.is_over());
}

TEST(Session, TellsAClientThatOthersWait) {
  TestSession test;
  test.say(ready + "half a mess");
  test.session.give_way();
  EXPECT_EQ("250, 250 2.1.0, 250 2.1.5, 354, 421 4.3.2", test.codes());
  EXPECT_TRUE(test.session.is_over());
}

TEST(Session, CountsTransactionsOnlyAsSteps) {
  TestSession test;
  test.say(ready + "x\r\n");
  EXPECT_EQ(0U, test.session.steps());
  test.say(".\r\nNOOP\r\n");
  EXPECT_EQ(1U, test.session.steps());
}

TEST(Session, ForgetsTheMessageOfAClientThatIsGone) {
  TestSession test;
  test.say(ready + "half a mess");
  EXPECT_TRUE(test.handler.open);
  test.session.abandon();
  EXPECT_FALSE(test.handler.open);
  EXPECT_TRUE(test.session.is_over());
  EXPECT_TRUE(test.handler.deliveries.empty());
}

TEST(Session, DeliversNothingMoreOnceTheClientIsGone) {
  TestSession test;
  test.say(start + "RCPT TO:<a@example.org>\r\nRCPT TO:<b@example.org>\r\nDATA\r\n");
  test.connected = false;
  test.say("x\r\n.\r\n");
  EXPECT_EQ(1U, test.handler.deliveries.size());
  EXPECT_TRUE(test.session.is_over());
}

}  // namespace
}  // namespace Quarrow::Lmtp
