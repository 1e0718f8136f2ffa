// Rules of a filter file that are taken over, and statements that have no equal.
#include "importing/maildrop_import.h"

#include <gtest/gtest.h>

#include "importing/importing_test_support.h"

namespace Quarrow::Importing {
namespace {

std::string told_of_maildrop(const std::string& text) { return told(RulesFormat::maildrop, text); }

std::string told_of_test(const std::string& test) {
  return told_of_maildrop("if (" + test + ")\n{\n  to \"Maildir/.A/\"\n}\n");
}

std::string told_of_block(const std::string& block) {
  return told_of_maildrop("if (/^Subject:.*x/) { " + block +
                          " }\nif (/^Subject:.*y/) { to \"B/\" }\n");
}

const char second[] = "2 Rule of line 2: string subject contains y; -> move B\n";

TEST(ReadMaildrop, TakesRulesOver) {
  EXPECT_EQ(
      "2 Rule of line 2: string list-id contains dev; -> move Lists/Dev\n"
      "7 Rule of line 7: case string to_cc contains a@b.c; not string subject contains x; -> move "
      "B\n"
      "9 Rule of line 9: any: string x-a is b; string x-c begin_with d/e; -> move C\n"
      "12 Rule of line 12: size greater 0; -> move INBOX\n",
      told_of_maildrop("# mail\n"
                       "if (/^List-Id:.*dev/:h)\n"
                       "{\n"
                       "  # lists\n"
                       "  to \"$HOME/Maildir/.Lists.Dev/\";\n"
                       "}\n"
                       "if (/^(To|Cc):.*a@b\\.c/:D && !/^Subject:.*x/) {\n"
                       "to Maildir/.B/ }\n"
                       "elsif (/^X-A: b$/ || \\\n (/^X-C: *d\\/e/))\n"
                       "  to \"Maildir/.C/\"\n"
                       "else { to \"$DEFAULT\" }\n"));
}

TEST(ReadMaildrop, LeavesOutRulesWithTestsThatHaveNoEqual) {
  for (const char* test : {"/x/", "/^Subject:.*a.b/", "/^Subject:.*a/:b", "$SIZE < 1000",
                           "/^Subject:.*x/ && hasaddr(\"a@b.c\")", "", "(/^Subject:.*x/",
                           "/^Subject:.*!x/ || ($A eq (\"b\"))"})
    EXPECT_NE(std::string::npos,
              told_of_test(test).find("loses the condition has no equal; the rule is left out\n"))
        << test << told_of_test(test);
  EXPECT_EQ(
      second + std::string("1 Rule of line 1 loses the condition has no equal; the rule is left "
                           "out\n"),
      told_of_maildrop(
          "if (lookup(/a/, \"b\")) { to \"A/\" }\nif (/^Subject:.*y/) { to \"B/\" }\n"));
}

TEST(ReadMaildrop, TellsStatementsThatHaveNoEqual) {
  const std::string rule = "1 Rule of line 1: string subject contains x; -> ";
  const std::string loses = "1 Rule of line 1 loses ";
  EXPECT_EQ(rule + "move INBOX\n" + second + loses + "\"! a@b.c\" has no equal; it is left out\n",
            told_of_block("to \"! a@b.c\""));
  EXPECT_EQ(rule + "delete\n" + second + loses +
                "/dev/null has no equal; delete, which files into Trash, takes its place\n",
            told_of_block("to \"/dev/null\""));
  EXPECT_EQ(second + loses + "\"cc\" has no equal; the rule is left out\n",
            told_of_block("cc \"A/\"; if (/x/) { to \"C/\" }"));
  EXPECT_EQ(second + loses + "\"/var/mail/a\" is no folder here; the rule is left out\n",
            told_of_block("to \"/var/mail/a\""));
  EXPECT_EQ(
      "5 Rule of line 5: string subject contains x; -> move A\n"
      "1  loses \"exception\" has no equal; it is left out\n"
      "4  loses \"A=b\" has no equal; it is left out\n",
      told_of_maildrop("exception {\n to \"B/\"\n}\nA=b\nif (/^Subject:.*x/) to \"A/\"\n"));
}

TEST(ReadMaildrop, RefusesTextsThatDoNotEnd) {
  ImportedRules rules;
  const auto refusal = read_maildrop("\nif (/^a\n", rules);
  EXPECT_EQ("line 2", refusal.object);
  EXPECT_EQ("a text or a pattern does not end", refusal.reason);
}

TEST(ReadMaildrop, StandsAnyText) {
  read_mutations(
      RulesFormat::maildrop,
      {"if (/^(To|Cc):.*a\\.b/:D && !(/^X-A: b$/ || /^X-B:.*c/))\n{\n to \"Maildir/.A/\"\n}"
       "\nelsif (/^C:.*d/) to a/\nelse { cc \"!a@b.c\" }\nexception { to b/ }\n"},
      {"(", ")", "{", "}", "\"", "/", "!", "&&", "||", "\\\n", "\n", ";", "to ", "if ", "elsif ",
       "else ", "#", "'"});
  std::string deep(100000, '(');
  EXPECT_NE(std::string::npos, told_of_maildrop("if " + deep + "\n").find("no equal"));
  EXPECT_NE(std::string::npos,
            told_of_maildrop("if (" + std::string(100000, '!') + "\n").find("no equal"));
}

}  // namespace
}  // namespace Quarrow::Importing
