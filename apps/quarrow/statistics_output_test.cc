// What is shown of counts.
#include "apps/quarrow/statistics_output.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/rules_test_support.h"

namespace Quarrow::Command {
namespace {

using MessageFilters::make_rule;
using MessageFilters::subject_test;
using Trial::RuleFigures;
using Trial::Statistics;

RuleFigures rule(const std::string& name, std::uint64_t decides, std::uint64_t matches) {
  RuleFigures figures;
  figures.filter = make_rule(name, subject_test("x"));
  figures.decides = decides;
  figures.matches = matches;
  return figures;
}

Statistics statistics() {
  Statistics counts;
  counts.messages = 90;
  counts.undecided = 4;
  counts.rules = {rule("Lists", 80, 80), rule("<News>", 6, 10), rule("Old", 0, 0)};
  counts.rules[0].filter->id = 7;
  counts.rules[1].filter->id = 8;
  counts.rules[2].filter->id = 12;
  counts.rules[1].taken_by[0] = 4;
  counts.rules[0].folders = {{"Lists", 80}};
  counts.rules[1].folders = {{"Gr&APYA3w-e", 6}};
  return counts;
}

std::string shown(ListingForm form) {
  std::ostringstream out;
  print_statistics(statistics(), form, out);
  return out.str();
}

TEST(StatisticsOutput, IsATableWithBars) {
  EXPECT_EQ(
      "id  name    enabled  decides  matches  taken_by\n"
      " 7  Lists   yes           80       80\n"
      " 8  <News>  yes            6       10  Lists: 4\n"
      "12  Old     yes            0        0\n"
      "\n"
      "######################################## Lists, 80\n"
      "### <News>, 6\n"
      "Old, 0\n"
      "## (no rule), 4\n"
      "\n"
      "90 messages\n",
      shown(ListingForm::table));
}

TEST(StatisticsOutput, IsOnlyTheRowsForPrograms) {
  EXPECT_EQ("7\tLists\tyes\t80\t80\t\n8\t<News>\tyes\t6\t10\tLists: 4\n12\tOld\tyes\t0\t0\t\n",
            shown(ListingForm::tab));
}

bool contains(const std::string& page, const std::string& text) {
  return page.find(text) != std::string::npos;
}

TEST(StatisticsPage, ShowsRulesAndFoldersAndNeedsNothingElse) {
  const std::string page = statistics_page(statistics(), "alice@example.org");
  EXPECT_TRUE(contains(page, "<title>Rules of alice@example.org</title>"));
  for (const char* text : {">all mail, 90<", ">Lists, 80<", ">&lt;News&gt;, 6<", ">no rule, 4<",
                           ">Gr\u00f6\u00dfe, 6<", ">Inbox, 4<", "<td>Lists: 4</td>"})
    EXPECT_TRUE(contains(page, text)) << text;
  for (const char* text : {"<News>", "http:", "https:", "<script", "NaN", "inf"})
    EXPECT_FALSE(contains(page, text)) << text;
}

TEST(StatisticsPage, MayBeAboutNoMailAtAll) {
  Statistics nothing;
  nothing.rules = {rule("Lists", 0, 0)};
  const std::string page = statistics_page(nothing, "a@b");
  EXPECT_TRUE(contains(page, "<td>Lists"));
  EXPECT_FALSE(contains(page, "nan"));
}

}  // namespace
}  // namespace Quarrow::Command
