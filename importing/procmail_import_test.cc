// Recipes that are taken over, and those that have no equal.
#include "importing/procmail_import.h"

#include <gtest/gtest.h>

#include "importing/importing_test_support.h"

namespace Quarrow::Importing {
namespace {

std::string told_of_procmail(const std::string& text) { return told(RulesFormat::procmail, text); }

// What becomes of a recipe between its first line and its action.
std::string told_of_recipe(const std::string& flags, const std::string& condition,
                           const std::string& action) {
  return told_of_procmail(":0" + flags + "\n* ^Subject:.*x\n" + condition + action + "\n");
}

TEST(ReadProcmail, TakesRecipesOver) {
  EXPECT_EQ(
      "5 Rule of line 5: string list-id contains dev; -> move Lists/Dev\n"
      "10 Rule of line 10: case string to_cc contains a@b.c; not case string subject contains X; "
      "size greater 10; -> move b\n"
      "15 Rule of line 15: size greater 0; -> move INBOX\n",
      told_of_procmail("# mail\n"
                       "MAILDIR=$HOME/Maildir\n"
                       "LOGFILE=log\n"
                       "\n"
                       ":0:\n"
                       "* ^List-Id:.*\\\n"
                       "  dev\n"
                       ".Lists.Dev/\n"
                       "\n"
                       ":0 D: b.lock\n"
                       "* ^(To|Cc):.*a@b\\.c\n"
                       "* ! ^Subject:.*X\n"
                       "*>10240\n"
                       "$MAILDIR/b/\n"
                       ":0\n$DEFAULT\n"));
}

TEST(ReadProcmail, LeavesOutRecipesWithConditionsThatHaveNoEqual) {
  for (const std::string condition :
       {"* ^TO_a@b.c", "* ^Subject:.*a.b", "* B ?? x", "* ? test -f a", "* > 1000", "* ", "*",
        "* $ ^Subject:.*$A", "* 1^0 ^Subject:.*x", "* ^FROM_DAEMON"})
    EXPECT_EQ("3 Rule of line 1 loses the condition \"" +
                  condition.substr(0, condition.find_last_not_of(' ') + 1) +
                  "\" has no equal; the rule is left out\n",
              told_of_recipe("", condition + '\n', "a/"))
        << condition;
}

TEST(ReadProcmail, TellsActionsAndFlagsThatHaveNoEqual) {
  const std::string rule = "1 Rule of line 1: string subject contains x; -> ";
  const std::string loses = " Rule of line 1 loses ";
  EXPECT_EQ(rule + "move INBOX\n3" + loses + "\"! a@b.c\" has no equal; it is left out\n",
            told_of_recipe("", "", "! a@b.c"));
  EXPECT_EQ("3" + loses + "\"! a@b.c\" has no equal; it is left out\n",
            told_of_recipe("c", "", "! a@b.c"));
  EXPECT_EQ(rule + "delete\n3" + loses +
                "/dev/null has no equal; delete, which files into Trash, takes its place\n",
            told_of_recipe("", "", "/dev/null"));
  EXPECT_EQ(rule + "copy a\n1" + loses +
                "messages go on to the rules behind it; here the first filter that matches "
                "decides\n",
            told_of_recipe(" c:", "", "a/"));
  EXPECT_EQ("1" + loses + "the flag \"B\" has no equal; the rule is left out\n",
            told_of_recipe(" B", "", "a/"));
  EXPECT_EQ("3" + loses + "\"/var/mail/a\" is no folder here; the rule is left out\n",
            told_of_recipe("", "", "/var/mail/a"));
}

TEST(ReadProcmail, SkipsBlocksAndTellsOtherLines) {
  EXPECT_EQ(
      "8 Rule of line 8: string subject contains y; -> move b\n"
      "1  loses \"INCLUDERC=other\" has no equal\n"
      "3 Rule of line 2 loses a block has no equal; the rule is left out\n",
      told_of_procmail(
          "INCLUDERC=other\n:0\n{\n:0\n* ^Subject:.*x\na/\n}\n:0\n* ^Subject:.*y\nb/\n"));
  EXPECT_EQ("1 Rule of line 1 loses a recipe without an action; the rule is left out\n",
            told_of_procmail(":0\n* ^Subject:.*x\n"));
}

TEST(ReadProcmail, StandsAnyText) {
  read_mutations(RulesFormat::procmail,
                 {":0 D:\n* ^Subject:.*x\\.y\n* ! > 10240\n.a.b/\n:0c\n{\n:0\n! a@b.c\n}\nA=b\n"},
                 {":0", "\n", "* ", "!", "{", "}", "\\", "^(", "|", ")", ":", "<", "99999999999",
                  "$DEFAULT", "/", "\"", "#"});
}

}  // namespace
}  // namespace Quarrow::Importing
