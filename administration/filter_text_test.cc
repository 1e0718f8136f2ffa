// Filters as lines of text, there and back.
#include "administration/filter_text.h"

#include <gtest/gtest.h>

#include "administration/administration_test_support.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Administration {
namespace {

using Delivery::FolderDots;
using MessageFilters::Filter__;
using MessageFilters::make_action;
using MessageFilters::make_rule;
using MessageFilters::make_test;

const std::string if_line = "if: string subject is a\n";
const std::string then_line = "then: delete\n";

std::string said_of(const std::string& text) {
  const auto filter = make_rule("Untouched", make_test("string", "subject", "is", "b"));
  const Refusal refusal = read_filter_text(text, FolderDots::inbox, *filter);
  if (refusal) {
    EXPECT_EQ("Untouched", filter->name);
    EXPECT_EQ("b", filter->tests.front().value);
  }
  return said(refusal);
}

TEST(FilterText, IsReadAsItStands) {
  const auto filter = make_rule("a: b", make_test("string", "subject", "is", " two  blanks"));
  filter->id = 3;
  EXPECT_EQ("", said(read_filter_text("# a comment\r\n\r\n   \nname: Reports \nenabled: no\nmatch: "
                                      "any\nif:string subject is  x \n" +
                                          if_line + "then: move Old mail\n" + then_line,
                                      FolderDots::inbox, *filter)));
  EXPECT_EQ(3, filter->id);
  EXPECT_EQ("Reports ", filter->name);
  EXPECT_FALSE(filter->enabled);
  EXPECT_EQ(Filter__::ANYOF, filter->relation);
  ASSERT_EQ(2U, filter->tests.size());
  EXPECT_EQ(" x ", filter->tests.front().value);
  ASSERT_EQ(2U, filter->actions.size());
  EXPECT_EQ("Old mail", filter->actions.front().target);
}

TEST(FilterText, TakesAFilterForEnabledAndAllItsTests) {
  Filter__ filter = *make_rule("x", make_test("string", "subject", "is", "b"), false);
  filter.relation = Filter__::ANYOF;
  EXPECT_EQ("",
            said(read_filter_text("name: x\n" + if_line + then_line, FolderDots::inbox, filter)));
  EXPECT_TRUE(filter.enabled);
  EXPECT_EQ(Filter__::ALLOF, filter.relation);
}

TEST(FilterText, IsTheSameThereAndBack) {
  const auto filter =
      make_rule("# a: b", make_test("string", "x-tag", "contains", "[#:  ] "), false);
  filter->id = 7;
  filter->tests.push_back(make_test("size", "size", "greater", "5"));
  filter->tests.back().negative = true;
  filter->actions = {make_action("move", "A b/c"), make_action("delete")};
  const std::string text = filter_text(*filter);
  EXPECT_EQ(0U, text.find("# filter 7\nname: # a: b\nenabled: no\nmatch: all\nif: "));
  Filter__ read = *make_rule("x", make_test("string", "subject", "is", "b"));
  read.id = 7;
  EXPECT_EQ("", said(read_filter_text(text, FolderDots::inbox, read)));
  EXPECT_EQ(text, filter_text(read));
}

TEST(FilterText, SaysThatAFilterIsEnabledAndTakesAnyTest) {
  const auto filter = make_rule("x", make_test("string", "subject", "is", "b"));
  filter->relation = Filter__::ANYOF;
  const std::string text = filter_text(*filter);
  EXPECT_NE(std::string::npos, text.find("\nenabled: yes\nmatch: any\n")) << text;
  const auto read = make_rule("y", make_test("string", "subject", "is", "c"), false);
  EXPECT_EQ("", said(read_filter_text(text, FolderDots::inbox, *read)));
  EXPECT_TRUE(read->enabled);
  EXPECT_EQ(Filter__::ANYOF, read->relation);
}

TEST(FilterText, HoldsNoControlCharacter) {
  const auto filter = make_rule("a\nb", make_test("string", "subject", "is", "\x1b[2J"));
  const std::string text = filter_text(*filter);
  EXPECT_NE(std::string::npos, text.find("name: a\\nb\n"));
  EXPECT_EQ(std::string::npos, text.find('\x1b'));
}

TEST(FilterText, IsRefusedWithTheLine) {
  const struct {
    std::string text;
    const char* said;
  } cases[] = {{"name: x\nfi: string subject is a\n",
                "line 2: begins with none of name:, enabled:, match:, if: and then:"},
               {"# \nname\n", "line 2: begins with none of name:, enabled:, match:, if: and then:"},
               {"name: x\n\nname: y\n", "line 3: \"name\" comes twice"},
               {"match: all\nmatch: all\n", "line 2: \"match\" comes twice"},
               {"enabled: perhaps\n", "line 1: \"enabled\" is yes or no"},
               {"match: some\n", "line 1: \"match\" is all or any"}};
  for (const auto& c : cases) EXPECT_EQ(c.said, said_of(c.text));
}

TEST(FilterText, IsRefusedForARuleThatCantBeTaken) {
  for (const char* line : {"if: ", "if: string subject sounds a", "if: size greater x",
                           "then:", "then: burn", "then: move A.b", "name:", "name: a\tb"})
    EXPECT_EQ(0U, said_of(std::string(line) + "\n").find("line 1: ")) << line;
}

TEST(FilterText, NeedsANameTestsAndActions) {
  for (const std::string& text :
       {if_line + then_line, "name: x\n" + then_line, "name: x\n" + if_line, std::string()})
    EXPECT_NE("", said_of(text)) << text;
}

TEST(FilterText, TakesTypesFromACatalogue) {
  Filter__ filter = *make_rule("x", make_test("string", "subject", "is", "b"));
  const std::string text = "name: x\nif: x-tag is a\n" + then_line;
  EXPECT_EQ(0U, said(read_filter_text(text, FolderDots::inbox, filter)).find("line 2"));
  EXPECT_EQ("", said(read_filter_text(text, FolderDots::inbox, filter,
                                      {{MessageFilters::Field::STRING, "X-Tag", true}})));
  EXPECT_EQ("string", filter.tests.front().field.type);
}

TEST(FilterText, MayHaveFoldersWithDots) {
  Filter__ filter = *make_rule("x", make_test("string", "subject", "is", "b"));
  EXPECT_EQ("", said(read_filter_text("name: x\n" + if_line + "then: move A.b\n",
                                      FolderDots::listescape, filter)));
}

}  // namespace
}  // namespace Quarrow::Administration
