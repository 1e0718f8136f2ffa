// Entries of a feed that are taken over, and properties that have no equal.
#include "importing/webmail_import.h"

#include <gtest/gtest.h>

#include "importing/importing_test_support.h"

namespace Quarrow::Importing {
namespace {

using Properties = std::vector<std::pair<std::string, std::string>>;

std::string entry(const Properties& properties) {
  std::string text = "<entry><category term='filter'></category><title>Mail Filter</title>\n";
  for (const auto& [name, value] : properties)
    text += "<apps:property name='" + name + "' value='" + value + "'/>\n";
  return text + "</entry>\n";
}

std::string told_of_webmail(const std::string& entries) {
  return told(RulesFormat::webmail,
              "<?xml version='1.0' encoding='UTF-8'?>"
              "<feed xmlns='http://www.w3.org/2005/Atom' "
              "xmlns:apps='http://schemas.example.org/apps'>\n<title>Mail Filters</title>\n" +
                  entries + "</feed>");
}

const char words[] =
    "3 Rule 1 loses \"subject\" is looked for in whole words there, and in parts of words here\n";

TEST(ReadWebmail, TakesAddressesAndLabelsOver) {
  EXPECT_EQ("3 Rule 1: address from is a@b.c; -> move Work/X\n",
            told_of_webmail(entry({{"from", "a@b.c"},
                                   {"label", "Work/X"},
                                   {"shouldArchive", "true"},
                                   {"shouldStar", "false"},
                                   {"sizeOperator", "s_sl"},
                                   {"sizeUnit", "s_smb"}})));
  EXPECT_EQ("3 Rule 1: any: address to_cc is a@b.c; address to_cc is d@e.f; -> copy &\n",
            told_of_webmail(entry({{"to", "a@b.c OR d@e.f"}, {"label", "&amp;"}})));
  EXPECT_EQ("3 Rule 1: address from is a@b.c; -> delete\n",
            told_of_webmail(entry({{"from", "a@b.c"}, {"shouldTrash", "true"}})));
}

TEST(ReadWebmail, TellsThatWordsOfASubjectAreOthersHere) {
  EXPECT_EQ(std::string("3 Rule 1: string subject contains a; string subject contains b; -> copy "
                        "L\n") +
                words,
            told_of_webmail(entry({{"subject", "a b"}, {"label", "L"}})));
}

TEST(ReadWebmail, LeavesOutRulesWithTestsThatHaveNoEqual) {
  const struct {
    Properties properties;
    const char* reason;
  } cases[] = {{{{"from", "bob"}}, "\"from\" of \"bob\" has no equal: it is no whole address"},
               {{{"from", "@b.c"}}, "\"from\" of \"@b.c\" has no equal: it is no whole address"},
               {{{"from", "a@b.c -d@e.f"}},
                "\"from\" of \"a@b.c -d@e.f\" has no equal: it is no whole address"},
               {{{"subject", "a OR b"}}, "\"subject\" of \"a OR b\" has no equal"},
               {{{"subject", "(a b)"}}, "\"subject\" of \"(a b)\" has no equal"},
               {{{"from", "a@b.c"}, {"hasTheWord", "x"}}, "\"hasTheWord\" of \"x\" has no equal"},
               {{{"from", "a@b.c"}, {"doesNotHaveTheWord", "x"}},
                "\"doesNotHaveTheWord\" of \"x\" has no equal"},
               {{{"from", "a@b.c"}, {"size", "5"}}, "\"size\" of \"5\" has no equal"},
               {{{"from", "a@b.c"}, {"new", "x"}}, "\"new\" of \"x\" has no equal"},
               {{{"label", "L"}}, "an entry without a test"}};
  for (const auto& c : cases)
    EXPECT_EQ(std::string("3 Rule 1 loses ") + c.reason + "; the rule is left out\n",
              told_of_webmail(entry(c.properties)))
        << c.reason;
}

TEST(ReadWebmail, TellsActionsThatHaveNoEqual) {
  EXPECT_EQ(
      "3 Rule 1: address from is a@b.c; -> move INBOX\n"
      "3 Rule 1 loses \"forwardTo\" has no equal; it is left out\n"
      "3 Rule 1 loses \"shouldArchive\" has no equal without a label; it is left out\n",
      told_of_webmail(
          entry({{"from", "a@b.c"}, {"forwardTo", "d@e.f"}, {"shouldArchive", "true"}})));
}

TEST(ReadWebmail, TellsThatOneFilterDecidesHere) {
  const std::string one = entry({{"from", "a@b.c"}, {"label", "L"}});
  EXPECT_EQ(
      "3 Rule 1: address from is a@b.c; -> copy L\n"
      "7 Rule 2: address from is a@b.c; -> copy L\n"
      "0  loses all filters that match are applied there; here the first that matches decides\n",
      told_of_webmail(one + one));
}

TEST(ReadWebmail, RefusesWhatIsNoFeed) {
  for (const char* text :
       {"<html></html>", "<feed>", "", "<!DOCTYPE a [<!ENTITY b 'c'>]><feed/>"}) {
    ImportedRules rules;
    EXPECT_EQ("no Atom feed, or one with XML that is not read here",
              read_webmail(text, rules).reason)
        << text;
  }
}

TEST(ReadWebmail, StandsAnyText) {
  read_mutations(RulesFormat::webmail,
                 {"<feed xmlns:apps='x'>" + entry({{"from", "a@b.c OR d@e.f"}, {"label", "L"}}) +
                  entry({{"subject", "a b"}, {"shouldTrash", "true"}}) + "</feed>"},
                 {"<", ">", "/>", "<entry>", "</entry>", "<!--", "-->", "&#1;", "&", "'",
                  "<![CDATA[", "<apps:property/>", " OR ", "<!DOCTYPE a>", ":"});
}

}  // namespace
}  // namespace Quarrow::Importing
