// Scripts as web front ends write them, and what becomes of each construct.
#include "importing/sieve_import.h"

#include <gtest/gtest.h>

#include "importing/importing_test_support.h"

namespace Quarrow::Importing {
namespace {

std::string told_of_sieve(const std::string& script) { return told(RulesFormat::sieve, script); }

// What becomes of a script with this test, and of one with these actions.
std::string told_of_sieve_test(const std::string& test) {
  return told_of_sieve("if " + test + " { fileinto \"A\"; stop; }");
}
std::string told_of_actions(const std::string& actions) {
  return told_of_sieve("if header :is \"x\" \"y\" { " + actions + " }\nkeep;");
}

TEST(ReadSieve, TakesNamesFromTheCommentsOfFrontEnds) {
  EXPECT_EQ(
      "3 Lists: string list-id contains dev; -> move Lists/Dev\n"
      "8 From boss: any: address from is a@b.c; string subject contains x; -> copy Boss\n"
      "14 Big: size greater 1024; -> move Trash\n"
      "18 Last: string subject begin_with Re:; -> move Re\n"
      "20 Rule of line 20: not string x-a is b; -> move C\n",
      told_of_sieve("require [\"fileinto\", \"copy\", \"imap4flags\"];\n"
                    "# rule:[Lists]\n"
                    "if allof (header :contains \"list-id\" \"dev\")\n"
                    "{ fileinto \"Lists/Dev\"; stop; }\n"
                    "# no name\n"
                    "## Filter: From boss\n"
                    "# made by a front end\n"
                    "if anyof (address :all :is \"From\" \"a@b.c\",\n"
                    "          header :contains \"subject\" [\"x\"]) {\n"
                    "  fileinto :copy :create \"Boss\";\n  stop;\n}\n"
                    "# Rule: Big\nif size :over 1M { fileinto \"Trash\"; stop; }\n"
                    "# something else\n\n"
                    "# RULE: Last\n"
                    "if header :matches \"subject\" \"Re:*\" { fileinto \"Re\"; stop; }\n"
                    "\nif not header :is \"X-A\" \"b\" { fileinto \"C\"; stop; }\n"));
}

TEST(ReadSieve, NamesARuleByItsLineWhereItsCommentHasAnEmptyName) {
  EXPECT_EQ("3 Rule of line 3: string subject contains x; -> move A\n",
            told_of_sieve("require \"fileinto\";\n"
                          "# rule:[]\n"
                          "if header :contains \"subject\" \"x\" { fileinto \"A\"; stop; }\n"));
}

TEST(ReadSieve, TakesTestsOverThatMeanTheSame) {
  const struct {
    const char* test;
    const char* filter;
  } cases[] = {
      {"header :comparator \"i;octet\" \"a\" \"b\"", "case string a is b; "},
      {"header :contains [\"Cc\", \"To\"] \"b\"", "string to_cc contains b; "},
      {"address [\"from\", \"to\", \"cc\"] \"a@b.c\"", "address from_to_cc is a@b.c; "},
      {"header [\"a\", \"b\"] [\"c\", \"d\"]",
       "any: string a is c; string a is d; string b is c; string b is d; "},
      {"not header \"a\" [\"c\", \"d\"]", "not string a is c; not string a is d; "},
      {"header :matches \"a\" \"*\\\\*b\"", "string a end_with *b; "},
      {"header :regex \"a\" \"^\\\\[b\\\\]\"", "string a begin_with [b]; "},
      {"address :matches \"from\" \"*@b.c*\"", "address from contains @b.c; "},
      {"size :under 3K", "size less 3; "},
      {"true", "size greater 0; "},
      {"currentdate :value \"ge\" \"date\" \"2026-05-01\"",
       "not date zvx-received-date before 2026-05-01; "},
      {"currentdate :is \"date\" \"2026-05-01\"", "date zvx-received-date is 2026-05-01; "},
      {"header :value \"lt\" :comparator \"i;ascii-numeric\" \"zvx-received-date\" \"20260501\"",
       "date zvx-received-date before 2026-05-01; "}};
  for (const auto& c : cases)
    EXPECT_EQ(std::string("1 Rule of line 1: ") + c.filter + "-> move A\n",
              told_of_sieve_test(c.test))
        << c.test;
}

TEST(ReadSieve, LeavesOutRulesWithTestsThatHaveNoEqual) {
  const struct {
    const char* test;
    const char* reason;
  } cases[] = {
      {"exists \"a\"", "the test \"exists\" has no equal"},
      {"anyof (header \"a\" \"b\", body :contains \"c\")", "the test \"body\" has no equal"},
      {"envelope \"from\" \"a@b.c\"", "the test \"envelope\" has no equal"},
      {"header :matches \"a\" \"b*c\"", "\":matches\" of \"b*c\" has no equal"},
      {"header :contains \"a\" \"\"", "\":contains\" of \"\" has no equal"},
      {"header :regex \"a\" \"b.c\"", "\":regex\" of \"b.c\" has no equal"},
      {"header :count \"gt\" :comparator \"i;ascii-numeric\" \"a\" \"3\"",
       "\":count\" has no equal for this header"},
      {"header :comparator \"i;other\" \"a\" \"b\"", "the comparator \"i;other\" has no equal"},
      {"header :mime \"a\" \"b\"", "\":mime\" has no equal"},
      {"header :comparator \"i;octet\" :matches \"a\" \"b*\"",
       "\":matches\" of \"b*\" has no equal in tests that tell capitals"},
      {"address :matches \"from\" \"*@b.c\"",
       "\":matches\" of \"*@b.c\" has no equal in address tests"},
      {"address :domain \"from\" \"b.c\"", "\":domain\" has no equal: tests see whole addresses"},
      {"size :over 1000", "a size of 1000 bytes has no equal: tests count in KiB"},
      {"currentdate :is \"weekday\" \"1\"",
       "\"currentdate\" has an equal for whole dates alone, without a time zone"},
      {"currentdate :zone \"+0100\" :is \"date\" \"2026-05-01\"",
       "\"currentdate\" has an equal for whole dates alone, without a time zone"},
      {"header \"a\" \"b\\\"c\"",
       "a value can't hold a backslash or a double quote; test for the text beside it"}};
  for (const auto& c : cases)
    EXPECT_EQ("1 Rule of line 1 loses " + std::string(c.reason) + "; the rule is left out\n",
              told_of_sieve_test(c.test))
        << c.test;
}

TEST(ReadSieve, TellsEveryTestThatHasNoEqual) {
  EXPECT_EQ(
      "1 Rule of line 1 loses the test \"exists\" has no equal; the rule is left out\n"
      "2 Rule of line 1 loses the test \"body\" has no equal; the rule is left out\n",
      told_of_sieve_test("anyof (exists \"a\", header \"a\" \"b\",\nnot body :contains \"c\")"));
}

TEST(ReadSieve, TakesActionsOverThatMeanTheSame) {
  const struct {
    const char* actions;
    const char* filter;
  } cases[] = {{"fileinto \"A\"; stop;", "move A"},
               {"fileinto \"A\"; fileinto \"B\"; stop;", "move A, move B"},
               {"fileinto \"A\"; keep; stop; redirect \"a@b.c\";", "copy A"},
               {"fileinto :copy \"A\"; fileinto \"B\"; stop;", "move A, move B"},
               {"keep; stop;", "move INBOX"},
               {"stop;", "move INBOX"},
               {"fileinto \"inbox\"; stop;", "move INBOX"},
               {"fileinto \"Gr&APYA3w-e\"; stop;",
                "move Gr\xC3\xB6\xC3\x9F"
                "e"},
               {"fileinto \"Gr\xC3\xB6\xC3\x9F"
                "e\"; stop;",
                "move Gr\xC3\xB6\xC3\x9F"
                "e"}};
  for (const auto& c : cases)
    EXPECT_EQ(std::string("1 Rule of line 1: string x is y; -> ") + c.filter + '\n',
              told_of_actions(c.actions))
        << c.actions;
}

TEST(ReadSieve, KeepsAMessageWhereAnActionHasNoEqual) {
  const struct {
    const char* actions;
    const char* filter;
    const char* reason;
  } cases[] = {
      {"redirect \"a@b.c\"; stop;", "move INBOX",
       "the action \"redirect\" has no equal; it is left out"},
      {"reject \"no\"; stop;", "move INBOX", "the action \"reject\" has no equal; it is left out"},
      {"addflag \"\\\\Seen\"; fileinto \"A\"; stop;", "move A",
       "the action \"addflag\" has no equal; it is left out"},
      {"fileinto :flags \"\\\\Seen\" \"A\"; stop;", "move A",
       "\":flags\" has no equal; it is left out"},
      {"keep :flags \"\\\\Seen\"; stop;", "move INBOX", "flags have no equal; they are left out"},
      {"discard; stop;", "delete",
       "discard has no equal; delete, which files into Trash, takes its place"}};
  for (const auto& c : cases)
    EXPECT_EQ(std::string("1 Rule of line 1: string x is y; -> ") + c.filter +
                  "\n1 Rule of line 1 loses " + c.reason + '\n',
              told_of_actions(c.actions))
        << c.actions;
}

TEST(ReadSieve, TellsWhereARuleWouldGoOn) {
  const char start[] = "if header \"x\" \"y\" { fileinto \"A\"; }\n";
  const char filter[] = "1 Rule of line 1: string x is y; -> move A\n";
  EXPECT_EQ(filter, told_of_sieve(start));
  EXPECT_EQ(filter + std::string("2 Rule of line 2: string z is y; -> move B\n"),
            told_of_sieve(start + std::string("elsif header \"z\" \"y\" { fileinto \"B\"; }")));
  EXPECT_EQ(filter + std::string("2 Rule of line 2: size greater 0; -> move B\n"),
            told_of_sieve(start + std::string("else { fileinto \"B\"; }")));
  EXPECT_EQ(
      filter + std::string("2 Rule of line 2: string z is y; -> move B\n"
                           "1 Rule of line 1 loses messages go on to the rules behind it, for want "
                           "of a \"stop\"; here the first filter that matches decides\n"),
      told_of_sieve(start + std::string("if header \"z\" \"y\" { fileinto \"B\"; }")));
}

TEST(ReadSieve, TakesCommandsOutsideOfConditionsForARule) {
  EXPECT_EQ("2 Rule of line 2: size greater 0; -> move A\n",
            told_of_sieve("require \"fileinto\";\nfileinto \"A\";"));
  EXPECT_EQ("", told_of_sieve("keep;"));
  EXPECT_EQ("", told_of_sieve("stop; fileinto \"A\"; if true { discard; }"));
}

TEST(ReadSieve, LeavesOutRulesWithConditionsInTheirBlocks) {
  EXPECT_EQ(
      "1 Rule of line 1 loses conditions inside a block have no equal\n"
      "1 Rule of line 1 loses the rule with that block is left out\n",
      told_of_sieve("if header \"a\" \"b\" { if header \"c\" \"d\" { stop; } keep; }"));
}

TEST(ReadSieve, TakesRulesOverThatAreSwitchedOff) {
  EXPECT_EQ(
      "2 Off: disabled: any: string a is b; string c is d; -> move A\n",
      told_of_sieve("# rule:[Off]\nif false # anyof (header \"a\" \"b\", header \"c\" \"d\")\n"
                    "{ fileinto \"A\"; stop; }"));
  EXPECT_EQ("", told_of_sieve("if false { discard; }"));
  EXPECT_EQ(
      "1 Rule of line 1 loses a rule that is switched off, without its test; it is left out\n",
      told_of_sieve("if false # (later)\n{ discard; }"));
}

TEST(ReadSieve, RefusesWhatIsNoScript) {
  ImportedRules rules;
  const auto refusal = read_sieve("keep;\nif {", rules);
  EXPECT_EQ("line 2", refusal.object);
  EXPECT_EQ("no Sieve script: \"}\" is missing", refusal.reason);
}

TEST(ReadSieve, StandsAnyText) {
  read_mutations(
      RulesFormat::sieve,
      {"require [\"fileinto\"];\n# rule:[a]\nif allof (header :contains \"subject\" \"x\", not "
       "address :is [\"to\", \"cc\"] [\"a@b.c\", \"d@e.f\"])\n{ fileinto \"A\"; stop; }\n",
       "if false # anyof (size :over 10K)\n{ keep; }\nelsif true { discard; } else { redirect "
       "\"a@b.c\"; }\nfileinto text:\na\n.\n;"},
      {"(",    ")",       "{",       "}",      "[",       "]",           "\"",      ";",
       ",",    ":",       "#",       "/*",     "*/",      "\\",          "text:\n", "\n.\n",
       "not ", "anyof (", ":regex ", "elsif ", "\"^.*\"", "99999999999", "K",       "&AP-"});
}

}  // namespace
}  // namespace Quarrow::Importing
