// The addresses that are left of broken address headers.
#include "host/zvellparser/address_salvage.h"

#include <gtest/gtest.h>

#include "host/zvellparser/address_grammar.h"
#include "host/zvellparser/address_test_support.h"

using zvellparser::interpreter_reads;
using zvellparser::repeated;
using zvellparser::salvage_addresses;

namespace {

struct Case {
  const char* text;
  const char* want;
};

template <std::size_t Count>
void expect_salvaged(const Case (&cases)[Count]) {
  for (const Case& c : cases) {
    EXPECT_FALSE(interpreter_reads(c.text)) << "not broken: " << c.text;
    EXPECT_TRUE(interpreter_reads(c.want)) << "wanted: " << c.want;
    EXPECT_EQ(c.want, salvage_addresses(c.text)) << "text: " << c.text;
  }
}

const Case names_kept[] = {
    {"J. Q. Doe <j@example.org>", "\"J. Q. Doe\" <j@example.org>"},
    {"Doe, J. <j@example.org>", "\"Doe, J.\" <j@example.org>"},
    {"[list] Jane Doe <j@example.org>", "\"[list] Jane Doe\" <j@example.org>"},
    {"Sales: Jane <j@example.org>", "Sales Jane <j@example.org>"},
    {"\"\" <j@example.org>", "j@example.org"},
    {"\" \" J. <j@example.org>", "\"J.\" <j@example.org>"},
    {"J\xc3\xb6rg Q. <j@example.org>", "\"J\xc3\xb6rg Q.\" <j@example.org>"},
    {"CORP\\jane <j@example.org>", "\"CORP\\jane\" <j@example.org>"},
    {"\"Jane \\\"J\\\" D.\" <j@example.org>,", "\"Jane J D.\" <j@example.org>"},
    {"\"Jane\\\" <j@example.org>", "Jane <j@example.org>"},
    {"j@example.org (Jane), (", "Jane <j@example.org>"},
    {"Jane <j@example.org> Doe", "Jane Doe <j@example.org>"},
    {"jane j@example.org", "jane <j@example.org>"},
    {"j@example.org <j@example.org>", "\"j@example.org\" <j@example.org>"},
    {"jane@example.org via List <list@example.com>",
     "\"jane@example.org via List\" <list@example.com>"},
};

TEST(AddressSalvage, KeepsNames) { expect_salvaged(names_kept); }

const Case addresses_kept[] = {
    {"a..b@example.org", "\"a..b\"@example.org"},
    {".a@example.org", "\".a\"@example.org"},
    {"a.@example.org", "\"a.\"@example.org"},
    {"a@b@example.org", "\"a@b\"@example.org"},
    {"<Undisclosed Recipients@example.org>", "\"Undisclosed Recipients\"@example.org"},
    {"corp\\jane@example.org", "\"corp\\jane\"@example.org"},
    {"a@example.org.", "a@example.org"},
    {"a@example..org", "a@example.org"},
    {"a@.example.org", "a@example.org"},
    {"a@example.org@", "a@example.org"},
    {"<a@example.org:25>", "25 <a@example.org>"},
    {"<a@example.org Jane>", "a@example.org"},
    {"<mailto:a@example.org>", "a@example.org"},
    {"<@x.example:a@example.org>,", "a@example.org"},
    {"\"jane doe\"@example.org,", "\"jane doe\"@example.org"},
    {"jane.\"x y\"@example.org,", "\"jane.x y\"@example.org"},
    {"jane @ example.org,", "jane@example.org"},
    {"a@[192.0.2.1],", "a@192.0.2.1"},
    {"j\xc3\xb6rg@ex\xc3\xa4mple.org,", "j\xc3\xb6rg@ex\xc3\xa4mple.org"},
};

TEST(AddressSalvage, KeepsAddressesAsTheyAreMeant) { expect_salvaged(addresses_kept); }

const Case neighbours[] = {
    {"a@x.org, b@y.org@z.org, c@x.org", "a@x.org, \"b@y.org\"@z.org, c@x.org"},
    {"a@x.org,", "a@x.org"},
    {", a@x.org,, b@x.org", "a@x.org, b@x.org"},
    {"a@x.org; b@x.org", "a@x.org, b@x.org"},
    {"a@x.org b@x.org", "a@x.org, b@x.org"},
    {"<a@x.org> <b@x.org>", "a@x.org, b@x.org"},
    {"<>, a@x.org", "a@x.org"},
    {"a@x.org, nobody", "a@x.org"},
    {"undisclosed-recipients:;, a@x.org", "a@x.org"},
    {"friends: a@x.org, b@x.org;, c@x.org", "friends <a@x.org>, b@x.org, c@x.org"},
    {"\"A <a@x.org>, \"B, C\" <b@x.org>", "A <a@x.org>, \"B, C\" <b@x.org>"},
    {"A\" <a@x.org>, b@x.org", "A <a@x.org>, b@x.org"},
    {"(A <a@x.org>, (B) <b@x.org>", "A <a@x.org>, B <b@x.org>"},
    {"A) <a@x.org>, b@x.org", "A <a@x.org>, b@x.org"},
    {"A <a@x.org, B <b@x.org>", "A <a@x.org>, B <b@x.org>"},
    {"A <<a@x.org>>, b@x.org", "A <a@x.org>, b@x.org"},
    {"A a@x.org>, b@x.org", "A <a@x.org>, b@x.org"},
    {"A <\"a@x.org>, b@x.org", "A <a@x.org>, b@x.org"},
    {"a@x.org (A, B), c@x.org.", "\"A, B\" <a@x.org>, c@x.org"},
};

TEST(AddressSalvage, LosesNoAddressToItsNeighbours) { expect_salvaged(neighbours); }

const char* const texts_without_address[] = {"<>",  "<jane>", "two words", "(",     "@",
                                             "@@",  "@x.org", "<@x.org>",  "jane@", "<jane@.>",
                                             "\\@", ",;:",    "jane, doe", "<a@,>"};

TEST(AddressSalvage, KeepsTextWithoutAnAddressAsTheNameOfAnEmptyGroup) {
  for (const char* text : texts_without_address)
    EXPECT_EQ('"' + std::string(text) + "\":;", salvage_addresses(text)) << "text: " << text;
  EXPECT_EQ("\"@x.org\":;", salvage_addresses("\"\"@x.org"));
  EXPECT_EQ("\"one two\":;", salvage_addresses(" one\ttwo \\"));
  EXPECT_EQ("\"?utf-8?q?a b?\":;", salvage_addresses("=?utf-8?q?a b?"));
}

TEST(AddressSalvage, IsEmptyWithoutAnyText) {
  for (const char* text : {"", " ", "\"", "\"\"", "\\", " \" \" "})
    EXPECT_EQ("", salvage_addresses(text)) << "text: " << text;
}

TEST(AddressSalvage, LeavesNoEncodedWord) {
  EXPECT_EQ("\"?x?q?J.?=\" <a=b@x.org>", salvage_addresses("=?x?q?J.?= <a=b@x.org>"));
  EXPECT_EQ("??x@x.org", salvage_addresses("==?=?x@x.org,"));
}

TEST(AddressSalvage, PassesOverControlBytes) {
  EXPECT_EQ("A B <a@x.org>", salvage_addresses(std::string("A\0B\r\n\t<a@x.org>,", 16)));
  EXPECT_EQ("\"a b\"@x.org", salvage_addresses("<a\x01"
                                               "b@x.org\x7f.net>"));
}

// Each with as many steps as bytes, or the test would not end in a lifetime.
TEST(AddressSalvage, TakesHostileTexts) {
  constexpr int length = 1000000;
  for (const std::string piece : {"x.", "(", "<", "@", ",", ":", "<a:"}) {
    const std::string name = repeated(piece, 4096).substr(0, 4096);
    EXPECT_EQ('"' + name + "\":;", salvage_addresses(repeated(piece, length))) << piece;
  }
  for (const char* piece : {"\"", "\\", "\\\"", " "})
    EXPECT_EQ("", salvage_addresses(repeated(piece, length))) << "piece: " << piece;
  EXPECT_EQ("a@b", salvage_addresses(std::string(length, '(') + "a@b"));
}

TEST(AddressSalvage, ShortensNamesAndLocalPartsToTheirBeginnings) {
  const std::string words = repeated("x ", 5000);
  EXPECT_EQ('"' + words.substr(0, 4095) + "\" <a@b>", salvage_addresses(words + "<a@b>"));
  const std::string letters = repeated("\xc3\xa4", 5000);
  EXPECT_EQ(letters.substr(0, 4096) + " <a@b>", salvage_addresses(letters + " <a@b>,"));
  EXPECT_EQ('"' + repeated("x.", 2048) + "\"@b", salvage_addresses(repeated("x.", 5000) + "@b"));
}

TEST(AddressSalvage, ShortensDomainsToTheirEnds) {
  EXPECT_EQ("a@" + repeated("x.", 126) + "org",
            salvage_addresses("a@" + repeated("x.", 500) + "org"));
  EXPECT_EQ("a@" + repeated("x", 255), salvage_addresses("a@" + repeated("x", 500)));
}

TEST(AddressSalvage, QuotesWhatHasManyPieces) {
  EXPECT_EQ(repeated("x ", 16) + "<a@b>", salvage_addresses(repeated("x ", 16) + "<a@b>"));
  EXPECT_EQ('"' + repeated("x ", 16) + "x\" <a@b>",
            salvage_addresses(repeated("x ", 17) + "<a@b>"));
  EXPECT_EQ('"' + repeated("x.", 16) + "x\"@b", salvage_addresses(repeated("x.", 16) + "x@b"));
}

TEST(AddressSalvage, KeepsTheFirstMailboxesOfAVeryLongList) {
  const std::string few = repeated("a@b, ", 500);
  const std::string all = salvage_addresses(repeated("a@b,", 100000));
  EXPECT_EQ(few, all.substr(0, few.size()));
  EXPECT_LE(zvellparser::reading_cost(all), zvellparser::most_reading_cost);
  const std::string long_names = salvage_addresses(repeated(repeated("x", 4000) + " <a@b>,", 100));
  EXPECT_LE(long_names.size(), 65536U);
  EXPECT_LE(zvellparser::reading_cost(long_names), zvellparser::most_reading_cost);
}

}  // namespace
