// Which header it was.
#include "delivery/unread_header.h"

#include <gtest/gtest.h>
#include <zvellparser.h>

namespace Quarrow::Delivery {
namespace {

std::string found_by(const std::string& script) {
  const std::string text =
      "From: a@example.org\nSubject: two words\nX-Foo: a@b@c\nX-Bar: b@example.org\n\n";
  const MemoryFile file;
  return unread_header(script, *MimePart::parse(text.data(), text.size()), file);
}

const struct {
  const char* script;
  const char* want;
} asked_scripts[] = {
    {"if address :all :is \"x-foo\" \"a\" { keep; }", "x-foo"},
    {"if address :all :is [\"from\", \"X-Bar\", \"X-Foo\"] \"a\" { keep; }", "X-Foo"},
    {"if address :comparator \"i;octet\" :is [\"Subject\"] [\"a\", \"b\"] { keep; }", "Subject"},
    {"if anyof(header :is \"subject\" \"a\", address :is \"x-foo\" \"b\") { keep; }", "x-foo"},
    {"if header :is \"subject\" \"address\" { keep; }", ""},
    {"if address :is \"from\" \"a\" { keep; } elsif header :is \"x-foo\" \"a\" { keep; }", ""},
    {"if address :is \"x-none\" \"a\" { keep; }", ""},
    {"if address :is \"", ""},
    {"", ""},
};

// 20 headers are tried.
TEST(UnreadHeader, IsNotLookedForAmongTooMany) {
  std::string names;
  for (int i = 0; i < 19; ++i) names += "\"x-bar\", ";
  EXPECT_EQ("x-foo", found_by("if address :is [" + names + "\"x-foo\"] \"a\" { keep; }"));
  EXPECT_EQ("", found_by("if address :is [" + names + "\"from\", \"x-foo\"] \"a\" { keep; }"));
}

TEST(UnreadHeader, IsTheOneThatAnAddressTestCantRead) {
  for (const auto& c : asked_scripts) EXPECT_EQ(c.want, found_by(c.script)) << c.script;
}

}  // namespace
}  // namespace Quarrow::Delivery
