// Values of headers, from a helper process.
#include <gtest/gtest.h>

#include <string>

#include "delivery/evaluator_test_support.h"

namespace Quarrow::Delivery {
namespace {

class HeaderValueTest : public EvaluationTest {
 protected:
  HeaderValueTest() : evaluator_(limits()) {}

  HeaderValue value(const std::string& message, const std::string& name, std::time_t received = 0) {
    return header_value(evaluator_, message, name, received);
  }

 private:
  static EvaluatorLimits limits() {
    EvaluatorLimits limits;
    limits.made_ahead = false;
    return limits;
  }

 protected:
  Evaluator evaluator_;
};

TEST_F(HeaderValueTest, IsDecoded) {
  EXPECT_EQ("J\xc3\xa4ger", value("Subject: =?iso-8859-1?q?J=E4ger?=\n\n", "subject").text);
  EXPECT_EQ("b c", value("A: b\n c\n\n", "a").text);
}

TEST_F(HeaderValueTest, IsNoneWithoutTheHeader) {
  const auto none = value("Subject: x\n\nFrom: in the text\n", "from");
  EXPECT_TRUE(none.is_known);
  EXPECT_EQ(std::nullopt, none.text);
  EXPECT_EQ("", value("Subject:\n\n", "subject").text);
}

TEST_F(HeaderValueTest, IsTheDayOnWhichTheMessageCame) {
  EXPECT_EQ("20260504", value("A: b\n\n", "zvx-received-date", 1777896000).text);
}

TEST_F(HeaderValueTest, IsNoLongerThanRulesSee) {
  const auto beginning = value("A: " + std::string(100000, 'x') + "\n\n", "a").text;
  ASSERT_TRUE(beginning);
  EXPECT_EQ(std::string(65536, 'x'), *beginning);
}

TEST_F(HeaderValueTest, LeavesTheNextEvaluationAlone) {
  set_script("require \"fileinto\"; if header :is \"subject\" \"x\" { fileinto \"Box\"; }");
  EXPECT_EQ("x", value("Subject: x\n\n", "subject").text);
  EXPECT_EQ("MatchResult [action=FILEINTO:Box]",
            text_of(evaluate(evaluator_, "Subject: x\n\n").result));
  EXPECT_EQ("MatchResult []", text_of(evaluate(evaluator_, "Subject: y\n\n").result));
}

TEST_F(HeaderValueTest, IsNotKnownWithoutAMessage) {
  const auto unknown = evaluator_.header_value(-1, 0, "subject");
  EXPECT_FALSE(unknown.is_known);
  EXPECT_EQ("the message can't be read: Bad file descriptor", unknown.reason);
}

}  // namespace
}  // namespace Quarrow::Delivery
