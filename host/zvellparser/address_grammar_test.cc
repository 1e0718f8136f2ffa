// The texts that libsieve's address parser takes. address_header_libsieve_test.cc asks libsieve
// itself.
#include "host/zvellparser/address_grammar.h"

#include <gtest/gtest.h>

#include "host/zvellparser/address_test_support.h"

using zvellparser::interpreter_reads;
using zvellparser::is_atom;
using zvellparser::repeated;

namespace {

const char* const well_formed_headers[] = {
    "",
    "  ",
    "word",
    "\"a few atom_cases\"",
    "bob@example.org",
    "<bob@example.org>",
    "Bob <bob@example.org>",
    "\"Bob, Jr.\" <bob@example.org>",
    "Bob \"Q.\" Jr <bob@example.org>",
    "bob@example.org (Bob)",
    "(a (nested \\) comment)) bob (x) @ (y) example . org",
    "\"bob smith\".jr@example.org",
    "bob@[192.0.2.1]",
    "<@a.example,@b.example:bob@example.org>",
    "a@example.org, B <b@example.org>,\tc@example.org",
    "friends: a@example.org, B <b@example.org>;",
    "undisclosed-recipients:;",
    "J\xc3\xb6rg <j\xc3\xb6rg@example.org>",
    "a!#$%&'*+-/=?^_`{|}~b@example.org",
    "\"a\\\"b\" <bob@example.org>",
};

TEST(AddressGrammar, ReadsWellFormedHeaders) {
  for (const char* text : well_formed_headers)
    EXPECT_TRUE(interpreter_reads(text)) << "text: " << text;
}

const char* const malformed_headers[] = {
    "two atom_cases",
    "<>",
    "<bob>",
    "\"\"",
    "\"\" <bob@example.org>",
    "J. Smith <bob@example.org>",
    "Smith, J <bob@example.org>",
    "[list] Bob <bob@example.org>",
    "bob@example.org <bob@example.org>",
    "<bob@example.org> Bob",
    "<bob smith@example.org>",
    "bob@example.org@example.com",
    "bob..smith@example.org",
    ".bob@example.org",
    "bob.@example.org",
    "bob@example..org",
    "bob@example.org.",
    "@example.org",
    "bob@",
    "bob@\"example\"",
    "bob@[]",
    "bob@[192.0.2.1",
    "<bob@example.org",
    "bob@example.org>",
    "\"Bob <bob@example.org>",
    "\"Bob\\\" <bob@example.org>",
    "(Bob bob@example.org",
    "bob@example.org)",
    "corp\\bob@example.org",
    "a@example.org,",
    ",a@example.org",
    "a@example.org,,b@example.org",
    "a@example.org, word",
    "a@example.org; b@example.org",
    "friends: a@example.org",
    ":;",
    "friends: a@example.org;, b@example.org",
    "b@example.org, friends: a@example.org;",
    "<@a.example:>",
    "<@a.example bob@example.org>",
};

TEST(AddressGrammar, RefusesMalformedHeaders) {
  for (const char* text : malformed_headers)
    EXPECT_FALSE(interpreter_reads(text)) << "text: " << text;
}

TEST(AddressGrammar, LooksAtNothingBehindANul) {
  EXPECT_TRUE(interpreter_reads(std::string("bob@example.org\0<<", 18)));
  EXPECT_FALSE(interpreter_reads(std::string("bob@\0example.org", 16)));
}

TEST(AddressGrammar, RefusesRoutesThatOverflowTheInterpretersStack) {
  EXPECT_TRUE(interpreter_reads("<@a" + repeated(",@a", 2999) + ":b@c>"));
  EXPECT_FALSE(interpreter_reads("<@a" + repeated(",@a", 3000) + ":b@c>"));
}

TEST(AddressGrammar, TakesLongTexts) {
  constexpr int length = 1000000;
  EXPECT_FALSE(interpreter_reads(repeated("x.", length / 2)));
  EXPECT_TRUE(interpreter_reads(repeated("x.", length / 2) + "x@y"));
  EXPECT_TRUE(interpreter_reads("a@b" + repeated(", a@b", 100000)));
  EXPECT_TRUE(interpreter_reads(std::string(length, '(') + std::string(length, ')')));
  EXPECT_FALSE(interpreter_reads(std::string(length, '(')));
  EXPECT_FALSE(interpreter_reads(std::string(length, '"') + "x"));
}

TEST(AddressGrammar, CostsMuchWhereManyPiecesAreJoined) {
  using zvellparser::reading_cost;
  EXPECT_EQ(std::nullopt, reading_cost("a@b,"));
  EXPECT_LT(reading_cost("a@b"), 200U);
  EXPECT_LT(reading_cost("Jane Doe <jane.doe@example.org>"), 500U);
  for (const std::string& text :
       {repeated("x ", 1000) + "<a@b>", repeated("x.", 1000) + "x@b",
        "a@" + repeated("x.", 1000) + "x", "<@x" + repeated(",@x", 1000) + ":a@b>"})
    EXPECT_GT(reading_cost(text), 1000000U) << text;
  EXPECT_LT(reading_cost(repeated("a@b, ", 999) + "a@b"), 1000 * reading_cost("a@b").value() + 1);
}

const struct {
  const char* word;
  bool want;
} atom_cases[] = {{"a", true},   {"a-b_c'd", true}, {"\xc3\xb6", true}, {"\x01", true},
                  {"", false},   {"a b", false},    {"a.b", false},     {"a\\", false},
                  {"\"", false}, {"\n", false}};

TEST(AddressGrammar, KnowsAtoms) {
  for (const auto& c : atom_cases) EXPECT_EQ(c.want, is_atom(c.word)) << "word: " << c.word;
}

}  // namespace
