// Which names are near.
#include "administration/near_names.h"

#include <gtest/gtest.h>

namespace Quarrow::Administration {
namespace {

const std::vector<std::string> names = {"add", "disable", "edit", "enable", "filter", "list"};

TEST(NearNames, AreThoseWithAFewOtherLetters) {
  const struct {
    const char* text;
    std::vector<std::string> want;
  } cases[] = {{"fliter", {"filter"}},   // swapped
               {"filte", {"filter"}},    // left out
               {"fillter", {"filter"}},  // put in
               {"fitter", {"filter"}},   // replaced
               {"dad", {"add"}},         // swapped, where no further difference would do
               {"FILTERS", {"filter"}},
               {"nable", {"enable"}},
               {"lst", {"list"}},
               {"sort", {}},
               {"x", {}},
               {"", {}}};
  for (const auto& c : cases) EXPECT_EQ(c.want, near_names(c.text, names)) << c.text;
}

TEST(NearNames, BeginWithTheNearestAndAreThreeAtMost) {
  const std::vector<std::string> near =
      near_names("work", {"wore", "Worm", "works in", "wo", "work", "word"});
  ASSERT_EQ(3U, near.size());
  EXPECT_EQ("work", near.front());
}

TEST(NearNames, HaveALetterInCommonWithTheText) { EXPECT_TRUE(near_names("a", {"b"}).empty()); }

TEST(NearNames, AreNotLookedForInLongTexts) {
  EXPECT_TRUE(near_names(std::string(201, 'x'), {std::string(201, 'x')}).empty());
}

TEST(DidYouMean, JoinsTheNames) {
  EXPECT_EQ("did you mean filter?", did_you_mean("fliter", names));
  EXPECT_EQ("did you mean aa or ab?", did_you_mean("a", {"aa", "ab", "zzz"}));
  EXPECT_EQ("did you mean aa, ab or ac?", did_you_mean("a", {"aa", "ab", "ac"}));
  EXPECT_EQ("", did_you_mean("sort", names));
}

}  // namespace
}  // namespace Quarrow::Administration
