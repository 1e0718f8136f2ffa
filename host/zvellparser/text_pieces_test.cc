// Header text in pieces: where they are cut.
#include "host/zvellparser/text_pieces.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace zvellparser;

namespace {

// Each piece behind the first letter of its kind.
std::vector<std::string> pieces_of(const std::string& text) {
  std::vector<std::string> found;
  for (TextPieces pieces(text); !pieces.at_end();) {
    const TextPiece piece = pieces.next();
    const char kind = piece.kind == TextPiece::Kind::plain ? 'p'
                      : piece.kind == TextPiece::Kind::raw ? 'r'
                                                           : 'e';
    found.push_back(kind + (':' + std::string(piece.text)));
  }
  return found;
}

TEST(TextPieces, AreCutWhereGMimeCuts) {
  const struct {
    const char* text;
    std::vector<std::string> want;
  } cases[] = {
      {"", {}},
      {"a \tb", {"p:a", "p: \t", "p:b"}},
      {"a\xe4 \xc3\xa4", {"r:a\xe4", "p: ", "r:\xc3\xa4"}},
      {"=?utf-8?q?a?=", {"e:=?utf-8?q?a?="}},
      {"a=?utf-8?B?YQ==?=b", {"p:a", "e:=?utf-8?B?YQ==?=", "p:b"}},
      {"=?x?q?a?= \n =?y?Q?b?= c", {"e:=?x?q?a?= \n =?y?Q?b?=", "p: ", "p:c"}},
      {"=?x?q?a?==?y?q?b?=", {"e:=?x?q?a?==?y?q?b?="}},
      {"=?x?q?a b\xe4?= \xe4", {"e:=?x?q?a b\xe4?=", "p: ", "r:\xe4"}},
      {"=?x?q?"
       "?=",
       {"e:=?x?q?"
        "?="}},
      {"=?x?q?=41?=", {"e:=?x?q?=41?="}},
  };
  for (const auto& c : cases) EXPECT_EQ(c.want, pieces_of(c.text)) << c.text;
}

TEST(TextPieces, AreWordsWhereNothingIsEncoded) {
  const struct {
    const char* text;
    std::vector<std::string> want;
  } cases[] = {
      {"=?", {"p:=?"}},
      {"=?x?z?a?=", {"p:=?x?z?a?="}},
      {"=?x?q", {"p:=?x?q"}},
      {"=?x?q?", {"p:=?x?q?"}},
      {"=?x?q?=", {"p:=?x?q?="}},
      {"=?x?q?a b", {"p:=?x?q?a", "p: ", "p:b"}},
      {"=?x?q?a =?y?q?\xe4", {"p:=?x?q?a", "p: ", "r:=?y?q?\xe4"}},
      {"\xe4=?\xe4", {"r:\xe4", "r:=?\xe4"}},
      {"=?a b\xe4 c?d e", {"r:=?a b\xe4 c?d", "p: ", "p:e"}},  // up to the end of its charset
  };
  for (const auto& c : cases) EXPECT_EQ(c.want, pieces_of(c.text)) << c.text;
}

}  // namespace
