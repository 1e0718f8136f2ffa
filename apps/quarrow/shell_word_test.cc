// Texts on their way to a shell line.
#include "apps/quarrow/shell_word.h"

#include <gtest/gtest.h>

#include <string>

namespace Quarrow::Command {
namespace {

struct TextCase {
  std::string text;
  std::string want;
};

TEST(ShellQuoted, LeavesPlainWordsAndQuotesTheRest) {
  const TextCase cases[] = {{"Reports", "Reports"},
                            {"boss@example.org", "boss@example.org"},
                            {"", "''"},
                            {"move Reports", "'move Reports'"},
                            {"$HOME; `id`", "'$HOME; `id`'"},
                            {"it's", "'it'\\''s'"},
                            {"two\nlines", "$'two\\nlines'"},
                            {"it's\ttab\\", "$'it\\'s\\ttab\\\\'"}};
  for (const auto& c : cases) EXPECT_EQ(c.want, shell_quoted(c.text));
}

}  // namespace
}  // namespace Quarrow::Command
