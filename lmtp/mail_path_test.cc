// Paths that are taken and paths that are not.
#include "lmtp/mail_path.h"

#include <gtest/gtest.h>

namespace Quarrow::Lmtp {
namespace {

// Paths, and the mailboxes that they name.
const struct {
  const char* path;
  const char* mailbox;
} paths[] = {
    {"<>", ""},
    {"<a@example.org>", "a@example.org"},
    {"<postmaster>", "postmaster"},
    {"<a.b+c=d@example.org>", "a.b+c=d@example.org"},
    {"<..a.@example.org>", "..a.@example.org"},
    {"<@one.example,@two.example:a@example.org>", "a@example.org"},
    {R"(<"a"@example.org>)", "a@example.org"},
    {R"(<"a b"@example.org>)", R"("a b"@example.org)"},
    {R"(<"a\b"@example.org>)", "ab@example.org"},
    {R"(<"a\"\\"@example.org>)", R"("a\"\\"@example.org)"},
    {R"(<"a>b@c"@example.org>)", R"("a>b@c"@example.org)"},
    {R"(<""@example.org>)", R"(""@example.org)"},
    {"<a@[192.0.2.1]>", "a@[192.0.2.1]"},
    {"<a@[IPv6:2001:db8::1]>", "a@[IPv6:2001:db8::1]"},
    {"<\xc3\xa4@\xc3\xb6.example>", "\xc3\xa4@\xc3\xb6.example"},
};

TEST(MailPath, ReadsMailboxes) {
  for (const auto& c : paths) {
    const auto path = parse_mail_path(std::string("TO:") + c.path, "TO:");
    ASSERT_TRUE(path) << c.path;
    EXPECT_EQ(c.mailbox, path->mailbox) << c.path;
  }
}

const char* const no_paths[] = {"",
                                "<",
                                "<a@example.org",
                                "a@example.org",
                                "<a b@c.d>",
                                "<a@>",
                                "<@example.org>",
                                "<@one:>",
                                "<@one:@example.org>",
                                "<a@b c>",
                                "<a@b@c>",
                                R"(<"a@example.org>)",
                                R"(<"a"b@c>)",
                                "<<a@b>>",
                                "<a@b>x",
                                "<a@b> =x",
                                "<a@b> X=",
                                "<a@b> X X",
                                "<a@b> x=1 X=2",
                                "<@one a@b>",
                                R"(<"a\)",
                                "<a@[>",
                                "<a@[x(]>",
                                "<a@[abc>",
                                "<@one",
                                "<(c)a@b>"};

TEST(MailPath, RefusesOthers) {
  for (const char* const c : no_paths)
    EXPECT_FALSE(parse_mail_path(std::string("TO:") + c, "TO:")) << c;
}

TEST(MailPath, ReadsParameters) {
  const auto path = parse_mail_path("FROM:<a@b> size=5  BODY=8bitMIME SMTPUTF8", "FROM:");
  ASSERT_TRUE(path);
  EXPECT_EQ(
      (std::map<std::string, std::string>{{"BODY", "8bitMIME"}, {"SIZE", "5"}, {"SMTPUTF8", ""}}),
      path->parameters);
}

}  // namespace
}  // namespace Quarrow::Lmtp
