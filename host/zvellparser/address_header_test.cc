// Address headers as the message parser hands them out.
#include "host/zvellparser/address_header.h"

#include <gtest/gtest.h>

#include "host/zvellparser/address_test_support.h"

using zvellparser::decoded;
using zvellparser::is_address_header;
using zvellparser::readable_address_header;

namespace {

const char* const address_header_names[] = {"From",
                                            "to",
                                            "CC",
                                            "Bcc",
                                            "sender",
                                            "REPLY-TO",
                                            "Resent-From",
                                            "resent-to",
                                            "RESENT-CC",
                                            "Resent-Bcc",
                                            "Resent-Sender",
                                            "resent-reply-to",
                                            "Delivered-To",
                                            "Return-Path",
                                            "X-Original-To",
                                            "Envelope-To",
                                            "errors-to",
                                            "X-Envelope-From"};

TEST(AddressHeader, IsKnownByItsName) {
  for (const char* name : address_header_names)
    EXPECT_TRUE(is_address_header(name)) << "name: " << name;
  for (const char* name : {"", "Subject", "Fro", "From ", "Resent-", "Resent-Date", "To:"})
    EXPECT_FALSE(is_address_header(name)) << "name: " << name;
}

TEST(AddressHeader, StaysAsItIsWhenItCanBeRead) {
  for (const char* text :
       {"", "Jane <j@x.org>", "  Jane   (J)\t< j@x.org >", "j@[192.0.2.1]", "<@x.org:j@x.org>",
        "undisclosed-recipients:;", "=?utf-8?q?J=C3=B6rg?= <j@x.org>", "J\xf6rg <j@x.org>",
        "=?utf-8?q?=22Doe=2C_J=2E=22?= <j@x.org>"})
    EXPECT_EQ(text, readable_address_header(text));
}

TEST(AddressHeader, IsJudgedAsItReadsDecoded) {
  EXPECT_EQ("\"Doe, J.\" <j@x.org>", readable_address_header("=?utf-8?q?Doe=2C_J=2E?= <j@x.org>"));
  EXPECT_EQ("\"J\xc3\xb6rg D.\" <j@x.org>",
            readable_address_header("=?iso-8859-1?q?J=F6rg_D=2E?= <j@x.org>"));
  EXPECT_EQ("\"J\xc3\xb6rg D.\" <j@x.org>", readable_address_header("J\xf6rg D. <j@x.org>"));
}

TEST(AddressHeader, KeepsItsTextWithoutAnAddress) {
  const struct {
    const char* raw;
    const char* want;
  } cases[] = {{"<>", "\"<>\":;"},
               {"Mail Delivery System", "\"Mail Delivery System\":;"},
               {"=?utf-8?q?J=C3=B6rg_D=2E?=", "\"J\xc3\xb6rg D.\":;"},
               {"\"\"", ""}};
  for (const auto& c : cases) EXPECT_EQ(c.want, readable_address_header(c.raw)) << "raw: " << c.raw;
}

TEST(AddressHeader, IsNotDecodedTwice) {
  for (const char* text :
       {"=?utf-8?q?=3D=3Futf-8=3Fq=3Fa=40x=3F=3D?= . <j@x.org>", "=?none?q?J.?= <j@x.org>",
        "J\xc3\xb6rg D. <j@x.org>", "J\xf6rg D. <j\xf6rg@x.org>", "a\\\xf6@b@c, =?a@b.c?=."}) {
    const std::string readable = readable_address_header(text);
    EXPECT_NE("", readable) << "text: " << text;
    EXPECT_EQ(readable, decoded(readable)) << "text: " << text;
  }
}

TEST(AddressHeader, IsRewrittenWhenReadingItTakesMuchMemory) {
  const std::string words = zvellparser::repeated("x ", 600);
  EXPECT_EQ('"' + words.substr(0, words.size() - 1) + "\" <a@b>",
            readable_address_header(words + "<a@b>"));
  const std::string ordinary = zvellparser::repeated("Jane Doe <jane.doe@example.org>, ", 300);
  EXPECT_EQ(ordinary + "j@x.org", readable_address_header(ordinary + "j@x.org"));
}

TEST(AddressHeader, HasAnEnd) {
  const std::string raw = "\"" + std::string(600000, 'x') + "\" <a@b>";
  EXPECT_LE(readable_address_header(raw).size(), 65536U);
}

}  // namespace
