// Formats that are told by the text, and those that are not.
#include "importing/rules_format.h"

#include <gtest/gtest.h>

namespace Quarrow::Importing {
namespace {

std::string guessed(const std::string& text) {
  const auto format = guess_format(text);
  return format ? format_words()[static_cast<std::size_t>(*format)] : "none";
}

TEST(GuessFormat, KnowsWhatOnlyOneFormatBeginsWith) {
  const struct {
    const char* text;
    const char* format;
  } cases[] = {{"[]", "json"},
               {"\n [{\"id\": 1}]", "json"},
               {"<?xml version=\"1.0\"?>\n<filters version=\"1.0\"></filters>", "xml"},
               {"<feed xmlns=\"http://www.w3.org/2005/Atom\"><entry/></feed>", "webmail"},
               {"# a comment\nrequire [\"fileinto\"];\n", "sieve"},
               {"require\t\"fileinto\";", "sieve"},
               {"PATH=/bin\n\n:0:\n* ^Subject: x\nx/\n", "procmail"}};
  for (const auto& c : cases) EXPECT_EQ(c.format, guessed(c.text)) << c.text;
}

TEST(GuessFormat, AsksWhereTheTextCouldBeInAnotherFormat) {
  for (const char* text : {"", " \n", "if (/^Subject: x/)", "# only a comment", "<html></html>",
                           "<feed>", "keep;", "required", "require", "=x", "Path=x\n:0\n"})
    EXPECT_EQ("none", guessed(text)) << text;
}

TEST(FormatOf, IsTheOppositeOfTheWords) {
  for (const auto& word : format_words())
    EXPECT_EQ(word, format_words()[static_cast<std::size_t>(*format_of(word))]);
  EXPECT_FALSE(format_of("Sieve"));
}

}  // namespace
}  // namespace Quarrow::Importing
