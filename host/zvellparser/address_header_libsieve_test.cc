// Our idea of libsieve's address parser beside libsieve itself.
#include <gtest/gtest.h>

#include <random>

#include "host/zvellparser/address_grammar.h"
#include "host/zvellparser/address_header.h"
#include "host/zvellparser/address_salvage.h"
#include "host/zvellparser/address_test_support.h"
#include "host/zvellparser/libsieve_oracle_test_support.h"

using namespace zvellparser;

namespace {

using Texts = std::vector<std::string>;

constexpr std::size_t texts_of_a_kind = 20000;

const Texts pieces = {"a",    "b.c",      "@",           ".",    ",",     ";",     ":",
                      "<",    ">",        "(",           ")",    "\"",    "\\",    "[",
                      "]",    " ",        "\t",          "\n",   "\r",    "\x01",  "\xc3\xb6",
                      "\xf6", "=?",       "?=",          "a@b",  "<a@b>", "\"x\"", "(c)",
                      "x:",   "<@x:a@b>", "[192.0.2.1]", "a@b, "};

const Texts headers = {
    "Jane Doe <jane@example.org>",
    "\"Doe, Jane\" <jane@example.org>, John <john@example.com>",
    "jane@example.org (Jane Doe)",
    "friends: a@example.org, B <b@example.org>;",
    "<@relay.example,@other.example:jane@example.org>",
    "jane@[192.0.2.1]",
    "=?utf-8?q?J=C3=B6rg_D=2E?= <jd@example.org>, \"J\xc3\xb6rg\" <j@example.org>",
    "\"Jane \\\"J\\\" Doe\" <jane.q.doe+list@mail.example.org>",
    "undisclosed-recipients:;",
    "jane@example.org, \"list (all)\" <list@example.org>, (nobody) x@example.net",
};

// A fixed seed, and no distributions, which differ between standard libraries: the same texts
// everywhere.
class Generator {
 public:
  std::string text_of_pieces() {
    std::string text;
    for (std::size_t count = below(16); count > 0; --count) text += one_of(pieces);
    return text;
  }

  std::string mutated_header() {
    std::string text = one_of(headers);
    for (std::size_t count = below(4); count > 0; --count) {
      const std::size_t begin = below(text.size() + 1);
      text.erase(begin, below(3));
      if (below(3) > 0) text.insert(begin, one_of(pieces));
    }
    return text;
  }

 private:
  std::size_t below(std::size_t limit) { return engine_() % limit; }
  const std::string& one_of(const Texts& texts) { return texts[below(texts.size())]; }

  std::mt19937 engine_;
};

Texts generated_texts() {
  Generator generator;
  Texts texts;
  for (std::size_t i = 0; i < texts_of_a_kind; ++i) {
    texts.push_back(generator.text_of_pieces());
    texts.push_back(generator.mutated_header());
  }
  return texts;
}

// Some texts crash libsieve; too many of them, and the comparison would be none.
void expect_verdicts(const Texts& texts, bool (*expected)(const std::string&)) {
  const std::vector<LibsieveVerdict> verdicts = libsieve_verdicts(texts, "x@y");
  std::size_t unknown = 0;
  for (std::size_t i = 0; i < texts.size(); ++i)
    if (verdicts[i] == LibsieveVerdict::unknown)
      ++unknown;
    else
      EXPECT_EQ(expected(texts[i]), verdicts[i] != LibsieveVerdict::refused) << texts[i];
  EXPECT_LE(unknown * 100, texts.size());
}

TEST(AddressGrammarAndLibsieve, Agree) { expect_verdicts(generated_texts(), interpreter_reads); }

TEST(AddressHeaderAndLibsieve, WhatIsHandedOutIsRead) {
  Texts readable;
  for (const std::string& text : generated_texts())
    readable.push_back(decoded(readable_address_header(text)));
  expect_verdicts(readable, [](const std::string&) { return true; });
}

TEST(AddressHeaderAndLibsieve, WhatIsSalvagedIsNotDecodedAgain) {
  for (const std::string& text : generated_texts()) {
    const std::string salvaged = salvage_addresses(decoded(text));
    EXPECT_EQ(salvaged, decoded(salvaged)) << text;
  }
}

const struct {
  const char* header;
  const char* address;
} refused_headers[] = {
    {"Doe, J. <j@example.org>", "j@example.org"},
    {"a..b@example.org", "a..b@example.org"},
    {"a@b@example.org", "a@b@example.org"},
    {"<Undisclosed Recipients@example.org>", "Undisclosed Recipients@example.org"},
    {"a@example.org., b@example.org", "a@example.org"},
    {"a@example.org; b@example.org", "b@example.org"},
    {"\"A <a@example.org>, \"B\" <b@example.org>", "b@example.org"},
    {"a@[192.0.2.1],", "a@192.0.2.1"},
};

TEST(AddressHeaderAndLibsieve, SalvagedAddressesAreReadAsTheyAreMeant) {
  for (const auto& c : refused_headers) {
    EXPECT_EQ(LibsieveVerdict::refused, libsieve_verdicts({c.header}, c.address)[0]) << c.header;
    const std::string readable = readable_address_header(c.header);
    EXPECT_EQ(LibsieveVerdict::matched, libsieve_verdicts({readable}, c.address)[0]) << readable;
  }
}

}  // namespace
