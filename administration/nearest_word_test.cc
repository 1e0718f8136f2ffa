// Words that are nearly right.
#include "administration/nearest_word.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Quarrow::Administration {
namespace {

const std::vector<std::string> fields = {"subject", "from", "to", "cc", "sender", "reply-to"};

TEST(NearestWord, IsTheOneWithTheFewestMistakes) {
  const struct {
    const char* word;
    const char* nearest;
  } cases[] = {{"subject", "subject"},   // right
               {"SUBJECT", "subject"},   // capitals are no mistakes
               {"subjct", "subject"},    // a letter is missing
               {"subjeckt", "subject"},  // a letter too many
               {"subjekt", "subject"},   // another letter
               {"subejct", "subject"},   // two letters swapped: one mistake
               {"form", "from"},         // likewise, in a short word
               {"sbject-s", "subject"},  // three mistakes in eight letters
               {"sbjct-ss", ""},         // four
               {"replyto", "reply-to"},  // a dash is a letter
               {"sendr", "sender"},      // one mistake in six letters
               {"sndrr", "sender"},      // two
               {"body", ""},             // unlike all
               {"t", "to"},              // one letter of two
               {"xy", ""},               // both
               {"", ""}};
  for (const auto& c : cases) EXPECT_EQ(c.nearest, nearest_word(c.word, fields)) << c.word;
}

TEST(NearestWord, IsTheFirstOfSeveral) {
  EXPECT_EQ("date", nearest_word("dafe", {"data-1", "date", "safe"}));
  EXPECT_EQ("safe", nearest_word("dafe", {"safe", "date"}));
}

TEST(NearestWord, IsNoneOfNoWords) { EXPECT_EQ("", nearest_word("from", {})); }

TEST(NearestWord, IsNoneForALongText) {
  EXPECT_EQ("", nearest_word(std::string(1000000, 's'), fields));
}

TEST(DidYouMean, AsksWhereAWordIsNear) {
  EXPECT_EQ("; did you mean \"from\"?", did_you_mean("from"));
  EXPECT_EQ("", did_you_mean(""));
}

}  // namespace
}  // namespace Quarrow::Administration
