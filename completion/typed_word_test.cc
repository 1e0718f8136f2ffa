#include "completion/typed_word.h"

#include <gtest/gtest.h>

namespace Quarrow::Completion {
namespace {

TEST(TypedWord, IsReadWithItsQuotes) {
  const struct {
    const char* typed;
    const char* text;
    char quote;
    bool ended;
  } cases[] = {{"", "", '\0', true},
               {"plain", "plain", '\0', true},
               {R"(a\ b\)", "a b", '\0', false},
               {R"('a\ "b')", R"(a\ "b)", '\0', true},
               {R"("a\$ \n 'b)", R"(a$ \n 'b)", '"', true},
               {R"('it'\''s)", "it's", '\'', true},
               {R"(a"b"'c)", "abc", '\'', true}};
  for (const auto& c : cases) {
    const TypedWord read = read_typed(c.typed);
    EXPECT_EQ(c.text, read.text) << c.typed;
    EXPECT_EQ(c.quote, read.quote) << c.typed;
    EXPECT_EQ(c.ended, read.ended) << c.typed;
  }
}

TEST(TypedWord, IsWrittenForEachQuote) {
  const std::string text = R"(a b'c"d$e!f`g\h~)";
  EXPECT_EQ(R"(a\ b\'c\"d\$e\!f\`g\\h\~)", typed_in('\0', text));
  EXPECT_EQ(R"(a b'\''c"d$e!f`g\h~)", typed_in('\'', text));
  EXPECT_EQ(R"(a b'c\"d\$e"\!"f\`g\\h~)", typed_in('"', text));
}

TEST(TypedWord, ComesBackAsItWasWritten) {
  std::string text;
  for (char c = ' '; c < 127; ++c) text += c;
  text += "\u00fc\u20ac";
  for (const char quote : {'\0', '\'', '"'}) {
    const std::string open = quote == '\0' ? "" : std::string(1, quote);
    EXPECT_EQ(text, read_typed(open + typed_in(quote, text) + open).text);
  }
}

}  // namespace
}  // namespace Quarrow::Completion
