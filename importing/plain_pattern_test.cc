// Patterns that are one of our comparators, and patterns that are more.
#include "importing/plain_pattern.h"

#include <gtest/gtest.h>

namespace Quarrow::Importing {
namespace {

struct Case {
  const char* pattern;
  const char* meaning;  // "none" for a pattern that means more
};

std::string said(const std::optional<PlainPattern>& pattern) {
  return pattern ? pattern->comparator + ' ' + pattern->value : "none";
}

TEST(WildcardPattern, MeansAComparatorWithAnythingAtItsEnds) {
  const Case cases[] = {{"a b", "is a b"},
                        {"a*", "begin_with a"},
                        {"*a", "end_with a"},
                        {"*a*", "contains a"},
                        {"**a", "end_with a"},
                        {"a**", "begin_with a"},
                        {"\\*a\\?\\\\", "is *a?\\"},
                        {"a\\", "is a\\"},
                        {"", "none"},
                        {"*", "none"},
                        {"a*b", "none"},
                        {"a?", "none"},
                        {"*a*b", "none"}};
  for (const auto& c : cases) EXPECT_EQ(c.meaning, said(wildcard_pattern(c.pattern))) << c.pattern;
}

TEST(RegexPattern, MeansAComparatorWhereNothingIsAnOperator) {
  const Case cases[] = {{"a b", "contains a b"},
                        {"^a", "begin_with a"},
                        {"a$", "end_with a"},
                        {"^a$", "is a"},
                        {"^.*a", "contains a"},
                        {"a.*$", "contains a"},
                        {"^.*a$", "end_with a"},
                        {"^a.*", "begin_with a"},
                        {"a\\.b\\[c\\]", "contains a.b[c]"},
                        {"^a\\$", "begin_with a$"},
                        {"a\\\\$", "end_with a\\"},
                        {"<a@b>", "contains <a@b>"}};
  for (const auto& c : cases) EXPECT_EQ(c.meaning, said(regex_pattern(c.pattern))) << c.pattern;
}

TEST(RegexPattern, IsNoneWithOperators) {
  for (const char* pattern :
       {"",   "^",  "$",    "^$",  ".*",  "^.*$", "a.b",  "a|b", "(a)", "[ab]", "a*",
        "a+", "a?", "a{2}", "a^b", "a$b", "\\<a", "\\ba", "\\",  "a\\", "x.**", "x\\.*"})
    EXPECT_EQ("none", said(regex_pattern(pattern))) << pattern;
}

}  // namespace
}  // namespace Quarrow::Importing
