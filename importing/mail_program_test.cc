// Expressions over header lines, and paths of folders.
#include "importing/mail_program.h"

#include <gtest/gtest.h>

#include "administration/rule_text.h"

namespace Quarrow::Importing {
namespace {

std::string said(const std::optional<Condition>& condition) {
  if (!condition) return "none";
  std::string all;
  for (const auto& part : condition->parts)
    all += (all.empty() ? "" : "; ") + Administration::test_text(part.test);
  return all;
}

TEST(HeaderLineCondition, MeansATestOfAHeader) {
  const struct {
    const char* regex;
    const char* tests;
  } cases[] = {{"^Subject:.*a\\.b", "string subject contains a.b"},
               {"^Subject: a", "string subject begin_with a"},
               {"^Subject:[ \t]*a$", "string subject is a"},
               {"^Subject:.*a$", "string subject end_with a"},
               {"^Subject: .*a", "string subject contains a"},
               {"^(To|Cc):.*a@b", "string to_cc contains a@b"},
               {"^(X-A|X-B):.*a", "string x-a contains a; string x-b contains a"}};
  for (const auto& c : cases)
    EXPECT_EQ(c.tests, said(header_line_condition(c.regex, false))) << c.regex;
  EXPECT_EQ("case string subject contains a", said(header_line_condition("^Subject:.*a", true)));
}

TEST(HeaderLineCondition, IsNoneWhereTheExpressionMeansMore) {
  for (const char* regex :
       {"Subject:.*a", "^Subject:a", "^Subject.*a", "^TO_a", "^Subject:.*", "^Subject:.*a.b",
        "^Subject:.*(a|b)", "^(To|):.*a", "^(To|Cc:.*a", "^", "", "^:.*a", "^X-A:|^X-B:"})
    EXPECT_EQ("none", said(header_line_condition(regex, false))) << regex;
  EXPECT_EQ("none", said(header_line_condition("^Subject: a", true)));
}

TEST(FolderAt, KnowsFoldersOfAMaildir) {
  const struct {
    const char* path;
    const char* folder;
  } cases[] = {{"Maildir/.a.b/", "a/b"},
               {"$HOME/Maildir/.a/", "a"},
               {"\"$MAILDIR/.a b/\"", "none"},
               {".Gr&APYA3w-e/",
                "Gr\xC3\xB6\xC3\x9F"
                "e"},
               {"a/b/", "a/b"},
               {"$DEFAULT", "INBOX"},
               {"$HOME/Maildir/", "INBOX"},
               {"/var/mail/a", "none"},
               {"$OTHER/a", "none"},
               {"`a`", "none"}};
  for (const auto& c : cases) EXPECT_EQ(c.folder, folder_at(c.path).value_or("none")) << c.path;
}

}  // namespace
}  // namespace Quarrow::Importing
