// The Sieve text of tests.
#include "message_filters/sieve_test_text.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/rules_test_support.h"

namespace Quarrow::MessageFilters {
namespace {

std::string text_of(const Test& test) {
  std::ostringstream out;
  return write_test(test, out) ? out.str() : "(refused)" + out.str();
}

TEST(HeaderList, KnowsTheNamesThatStandForSeveralHeaders) {
  const struct {
    const char* name;
    const char* want;
  } cases[] = {{"to_cc", R"(["to", "cc"])"}, {"from_to_cc", R"(["from", "to", "cc"])"},
               {"subject", R"("subject")"},  {"To_CC", R"("To_CC")"},
               {"to_cc ", R"("to_cc ")"},    {"", R"("")"}};
  for (const auto& c : cases)
    EXPECT_EQ(c.want, sieve_header_list(make_test("string", c.name, "is", "x")));
}

TEST(RegexEscape, PutsOneBackslashBeforeSpecialCharacters) {
  const struct {
    const char* text;
    const char* want;
  } cases[] = {{"", ""},
               {"plain-_,;:'<>&%#@!~= 0", "plain-_,;:'<>&%#@!~= 0"},
               {"a.b(1)", R"(a\.b\(1\))"},
               {"x/y", R"(x\/y)"},
               {R"(^.$|()[]*+?\/{}")", R"(\^\.\$\|\(\)\[\]\*\+\?\\\/\{\}\")"},
               {"\xC3\xA9", "\xC3\xA9"}};
  for (const auto& c : cases) EXPECT_EQ(c.want, regex_escape(c.text)) << c.text;
}

const struct {
  const char* type;
  const char* comparator;
  const char* name;
  const char* value;
  const char* without_case;
  const char* with_case;
} combinations[] = {
    {"string", "is", "N", "V.", R"( header :is "N" "V." )",
     R"( header :is :comparator "i;octet" "N" "V." )"},
    {"string", "contains", "N", "V.", R"( header :contains "N" "V." )",
     R"( header :contains :comparator "i;octet" "N" "V." )"},
    {"string", "begin_with", "N", "V.", R"( header :regex "N" "^V\." )",
     R"( header :regex "N" "^V\." )"},
    {"string", "end_with", "N", "V.", R"( header :regex "N" "V\.$" )",
     R"( header :regex "N" "V\.$" )"},
    {"address", "is", "N", "V.", R"( address :all :is "N" "V." )",
     R"( address :all :is :comparator "i;octet" "N" "V." )"},
    {"address", "contains", "N", "V.", R"( address :all :contains "N" "V." )",
     R"( address :all :contains :comparator "i;octet" "N" "V." )"},
    {"size", "greater", "N", "500", " size :over 500K ", " size :over 500K "},
    {"size", "less", "N", "500", " size :under 500K ", " size :under 500K "},
    {"date", "before", "N", "2010-05-01",
     R"( header :value "lt" :comparator "i;ascii-numeric" "N" "20100501" )",
     R"( header :value "lt" :comparator "i;ascii-numeric" "N" "20100501" )"},
    {"date", "after", "N", "2010-05-01",
     R"( header :value "gt" :comparator "i;ascii-numeric" "N" "20100501" )",
     R"( header :value "gt" :comparator "i;ascii-numeric" "N" "20100501" )"},
    {"date", "is", "N", "2010-05-01",
     R"( header :value "eq" :comparator "i;ascii-numeric" "N" "20100501" )",
     R"( header :value "eq" :comparator "i;ascii-numeric" "N" "20100501" )"},
    {"string", "is", "to_cc", "V", R"( header :is ["to", "cc"] "V" )",
     R"( header :is :comparator "i;octet" ["to", "cc"] "V" )"},
    {"string", "end_with", "to_cc", "(final)", R"( header :regex ["to", "cc"] "\(final\)$" )",
     R"( header :regex ["to", "cc"] "\(final\)$" )"},
    {"string", "begin_with", "subject", "[urgent]", R"( header :regex "subject" "^\[urgent\]" )",
     R"( header :regex "subject" "^\[urgent\]" )"},
    {"address", "contains", "from_to_cc", "bob",
     R"( address :all :contains ["from", "to", "cc"] "bob" )",
     R"( address :all :contains :comparator "i;octet" ["from", "to", "cc"] "bob" )"},
    {"size", "greater", "size", "10M", " size :over 10MK ", " size :over 10MK "},
    {"date", "is", "to_cc", "soon",
     R"( header :value "eq" :comparator "i;ascii-numeric" "to_cc" "" )",
     R"( header :value "eq" :comparator "i;ascii-numeric" "to_cc" "" )"}};

TEST(DigitsOnly, DropsAllElse) {
  const struct {
    const char* text;
    const char* want;
  } cases[] = {{"2010-05-01", "20100501"},     {"5/1/2010", "512010"},   {"soon", ""}, {"", ""},
               {"0123456789/:", "0123456789"}, {"\xB1\xB2 \xD9\xA1", ""}};
  for (const auto& c : cases) EXPECT_EQ(c.want, digits_only(c.text)) << c.text;
}

TEST(WriteTest, EveryCombinationOfTypeAndComparator) {
  for (const auto& c : combinations) {
    Condition test = make_test(c.type, c.name, c.comparator, c.value);
    EXPECT_EQ(c.without_case, text_of(test));
    test.negative = true;
    EXPECT_EQ(std::string(" not") + c.without_case, text_of(test));
    test.match_case = true;
    EXPECT_EQ(std::string(" not") + c.with_case, text_of(test));
    test.negative = false;
    EXPECT_EQ(c.with_case, text_of(test));
  }
}

TEST(WriteTest, WritesNothingForAnInvalidTest) {
  EXPECT_EQ("(refused)", text_of(make_test("number", "size", "less", "1")));
  EXPECT_EQ("(refused)", text_of(make_test("string", "subject", "contains", "")));
  EXPECT_EQ("(refused)", text_of(make_test("string", "subject", "contains", "a\"b")));
  EXPECT_EQ("(refused)", text_of(make_test("string", "subject", "matches", "a")));
  EXPECT_EQ("(refused)", text_of(make_test("address", "from", "begin_with", "bob")));
  Condition negative = make_test("string", "", "contains", "a");
  negative.negative = true;
  EXPECT_EQ("(refused)", text_of(negative));
}

}  // namespace
}  // namespace Quarrow::MessageFilters
