// Texts on their way to a terminal or a log.
#include "system/printable.h"

#include <gtest/gtest.h>

#include <string>

namespace Quarrow {
namespace {

// A text, and the text that a person sees.
const struct {
  std::string text;
  std::string want;
} texts[] = {{"", ""},
             {"inbox/1.eml", "inbox/1.eml"},
             {"B\xC3\xBCro", "B\xC3\xBCro"},
             {"a\tb\nc\rd", "a\\tb\\nc\\rd"},
             {"\x1B[31mred", "\\x1b[31mred"},
             {std::string("a\0b", 3), "a\\x00b"},
             {"\x7F", "\\x7f"},
             {"a\\nb", "a\\\\nb"}};

TEST(Printable, EscapesControlCharactersAndBackslashes) {
  for (const auto& c : texts) EXPECT_EQ(c.want, printable(c.text));
}

TEST(Escaped, WritesWhatIsToBeHiddenLikeAControlCharacter) {
  EXPECT_EQ("a\\x20b\\x0a\\\\", escaped("a b\n\\", {"\\", " ", false}));
  EXPECT_EQ("a b\\x0a\\", escaped("a b\n\\", {}));
}

TEST(WithControlsAs, ReplacesThemOneByOne) {
  EXPECT_EQ("", with_controls_as('?', ""));
  EXPECT_EQ("a\\b \xC3\xBC", with_controls_as('?', "a\\b \xC3\xBC"));
  EXPECT_EQ("??a?", with_controls_as('?', std::string("\r\na\0", 4)));
  EXPECT_EQ("  [1m", with_controls_as(' ', "\x7F\x1B[1m"));
}

TEST(Shortened, KeepsStartAndEnd) {
  EXPECT_EQ("0123456789abcdef", shortened("0123456789abcdef", 16));
  EXPECT_EQ("01234567...defgh", shortened("0123456789abcdefgh", 16));
  EXPECT_EQ(200U, shortened(std::string(40000, 'x')).size());
}

TEST(Shortened, CutsBetweenCharacters) {
  std::string text;
  for (int i = 0; i < 20; ++i) text += "\xE2\x82\xAC";
  for (std::size_t limit = 16; limit < text.size(); ++limit) {
    const std::string cut = shortened(text, limit);
    EXPECT_LE(cut.size(), limit);
    EXPECT_EQ(0U, (cut.size() - 3) % 3) << limit;
    EXPECT_EQ(0U, cut.find("...") % 3) << limit;
  }
}

TEST(HasControlCharacters, SeesThemAnywhere) {
  EXPECT_FALSE(has_control_characters(""));
  EXPECT_FALSE(has_control_characters("a b\xC3\xBC"));
  EXPECT_TRUE(has_control_characters("a\n"));
  EXPECT_TRUE(has_control_characters(std::string(1, '\0')));
  EXPECT_TRUE(has_control_characters("\x7F"));
}

}  // namespace
}  // namespace Quarrow
