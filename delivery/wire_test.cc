// Answers as packets, whole and damaged.
#include "delivery/wire.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/support/evaluation_test_support.h"

namespace Quarrow::Delivery {
namespace {

using Outcome = Evaluation::Outcome;

SieveAction action(SieveAction::Type type, const std::string& mailbox, const std::string& text) {
  SieveAction made;
  made.type = type;
  made.mailbox = mailbox;
  made.message = text;
  return made;
}

Answer full_answer() {
  Answer answer;
  answer.sequence = 7;
  answer.evaluation.outcome = Outcome::done;
  answer.evaluation.rule = "Rule";
  answer.evaluation.reason = "none";
  answer.evaluation.result.error = SieveMatchResult::PARSE_ADDRESS;
  answer.evaluation.result.actions = {action(SieveAction::REJECT, "", "no"),
                                      action(SieveAction::FILEINTO, "inbox/A", "")};
  return answer;
}

TEST(Wire, AnAnswerComesBackAsItWas) {
  const auto answer = decode(encode(full_answer()));
  ASSERT_TRUE(answer);
  EXPECT_EQ(7U, answer->sequence);
  EXPECT_EQ(Outcome::done, answer->evaluation.outcome);
  EXPECT_EQ("Rule", answer->evaluation.rule);
  EXPECT_EQ("none", answer->evaluation.reason);
  EXPECT_EQ(SieveMatchResult::PARSE_ADDRESS, answer->evaluation.result.error);
  ASSERT_EQ(2U, answer->evaluation.result.actions.size());
  EXPECT_EQ("no", answer->evaluation.result.actions[0].message);
  EXPECT_EQ("inbox/A", answer->evaluation.result.actions[1].mailbox);
}

TEST(Wire, AnEmptyValueIsAnotherAnswerThanNone) {
  Answer answer = full_answer();
  for (const std::optional<std::string>& value :
       {std::optional<std::string>(), std::optional<std::string>(""),
        std::optional<std::string>("x")}) {
    answer.value = value;
    const auto got = decode(encode(answer));
    ASSERT_TRUE(got);
    EXPECT_EQ(value, got->value);
  }
}

TEST(Wire, APacketThatIsCutOrTooLongIsNoAnswer) {
  const std::string packet = encode(full_answer());
  for (std::size_t length = 0; length < packet.size(); ++length)
    EXPECT_FALSE(decode(packet.substr(0, length))) << length;
  EXPECT_FALSE(decode(packet + "x"));
  EXPECT_FALSE(decode(std::string(answer_limit + 1, '\0')));
}

TEST(Wire, ValuesThatDoNotExistAreNoAnswer) {
  Answer answer = full_answer();
  answer.evaluation.outcome = static_cast<Outcome>(4);
  EXPECT_FALSE(decode(encode(answer)));
  answer = full_answer();
  answer.evaluation.result.error = 6;
  EXPECT_FALSE(decode(encode(answer)));
  answer = full_answer();
  answer.evaluation.result.error = -1;
  EXPECT_FALSE(decode(encode(answer)));
  answer = full_answer();
  answer.evaluation.result.actions[0].type = 7;
  EXPECT_FALSE(decode(encode(answer)));
}

TEST(Wire, AnyBytesAreReadWithinTheirBounds) {
  const std::string packet = encode(full_answer());
  std::mt19937 random(3);
  std::size_t read = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string changed = packet;
    for (int left = 3; left > 0; --left)
      changed[random() % changed.size()] = static_cast<char>(random());
    const auto answer = decode(changed);
    if (!answer) continue;
    ++read;
    EXPECT_EQ(2U, answer->evaluation.result.actions.size());
  }
  EXPECT_GT(read, 0U);
}

TEST(Wire, AResultThatIsTooLongBecomesAFailure) {
  Answer answer = full_answer();
  answer.evaluation.rule = std::string(answer_limit, 'x');
  const auto read = decode(encode(answer));
  ASSERT_TRUE(read);
  EXPECT_EQ(7U, read->sequence);
  EXPECT_EQ(Outcome::failed, read->evaluation.outcome);
  EXPECT_EQ("the result is too long", read->evaluation.reason);
}

}  // namespace
}  // namespace Quarrow::Delivery
