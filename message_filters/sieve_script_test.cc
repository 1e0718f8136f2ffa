// The Sieve script of a list of filters.
#include "message_filters/sieve_script.h"

#include <gtest/gtest.h>

#include <boost/smart_ptr/bad_weak_ptr.hpp>
#include <sstream>

#include "tests/support/rules_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::MessageFilters {
namespace {

const std::string opening =
    "require [\"fileinto\", \"regex\", \"relational\", \"comparator-i;ascii-numeric\"];\n"
    "\n"
    "# auto generated sieve script\n"
    "# do not modify\n"
    "\n"
    "if false {\n"
    "    keep;\n"
    "}\n";
const std::string closing = "# NO MATCH\n";

const std::string news_rule =
    "# RULE: news\n"
    "elsif anyof( header :regex \"subject\" \"^\\[news\\]\" ,\n"
    "         address :all :is :comparator \"i;octet\" \"from\" \"newsletter\" ) {\n"
    "    fileinto \"Lists/News\";\n"
    "    stop;\n"
    "}\n";
const std::string big_rule =
    "# RULE: big\n"
    "elsif  size :over 2048K {\n"
    "    fileinto \"Trash\";\n"
    "    stop;\n"
    "}\n";
const std::string boss_rule =
    "# RULE: boss\n"
    "elsif  not header :contains [\"to\", \"cc\"] \"boss\" {\n"
    "    fileinto \"Archive\"; keep;\n"
    "    fileinto \"Trash\";\n"
    "    stop;\n"
    "}\n";

boost::shared_ptr<Filter__> news_filter() {
  const auto filter = make_rule("news", make_test("string", "subject", "begin_with", "[news]"));
  filter->relation = Filter__::ANYOF;
  filter->tests.push_back(make_test("address", "from", "is", "newsletter"));
  filter->tests.back().match_case = true;
  filter->actions = {make_action("move", "Lists/News")};
  return filter;
}

boost::shared_ptr<Filter__> boss_filter() {
  const auto filter = make_rule("boss", make_test("string", "to_cc", "contains", "boss"));
  filter->tests.back().negative = true;
  filter->actions = {make_action("copy", "Archive"), make_action("delete")};
  return filter;
}

class SieveScript : public testing::Test {
 protected:
  bool save(bool include_disabled = false) { return list_->SaveToSieve(path_, include_disabled); }
  std::string saved() const { return content_of(path_); }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.file("script");
  const boost::shared_ptr<FilterList__> list_ = FilterList__::Create();
};

TEST_F(SieveScript, HoldsTheEnabledFilters) {
  list_->append(news_filter());
  list_->append(make_rule("big", make_test("size", "size", "greater", "2048"), false));
  list_->append(boss_filter());
  ASSERT_TRUE(save(false));
  EXPECT_EQ(opening + news_rule + boss_rule + closing, saved());
  ASSERT_TRUE(save(true));
  EXPECT_EQ(opening + news_rule + big_rule + boss_rule + closing, saved());
}

TEST_F(SieveScript, OfNoFilterHasTheFixedLines) {
  ASSERT_TRUE(save());
  EXPECT_EQ(opening + closing, saved());
}

TEST_F(SieveScript, OfDisabledFiltersHasTheFixedLines) {
  list_->append(make_rule("big", make_test("size", "size", "greater", "2048"), false));
  ASSERT_TRUE(save(false));
  EXPECT_EQ(opening + closing, saved());
  ASSERT_TRUE(save(true));
  EXPECT_EQ(opening + big_rule + closing, saved());
}

TEST_F(SieveScript, SkipsFiltersWithoutTestsEvenInvalidOnes) {
  list_->append(make_filter("no tests"));
  list_->append(make_filter("invalid"));
  list_->filters.back()->actions.clear();
  ASSERT_TRUE(save(true));
  EXPECT_EQ(opening + closing, saved());
}

TEST_F(SieveScript, DisabledFiltersNeedNotBeValid) {
  list_->append(make_rule("invalid", Condition(), false));
  EXPECT_TRUE(save(false));
  EXPECT_FALSE(save(true));
}

TEST_F(SieveScript, RelationStandsBeforeTwoTestsOrMore) {
  const auto filter = make_rule("a", subject_test("1"));
  filter->tests.push_back(subject_test("2"));
  filter->tests.push_back(subject_test("3"));
  list_->append(filter);
  ASSERT_TRUE(save());
  EXPECT_EQ(opening +
                "# RULE: a\n"
                "elsif allof( header :contains \"subject\" \"1\" ,\n"
                "         header :contains \"subject\" \"2\" ,\n"
                "         header :contains \"subject\" \"3\" ) {\n"
                "    fileinto \"Trash\";\n"
                "    stop;\n"
                "}\n" +
                closing,
            saved());
}

TEST_F(SieveScript, NamesAreWrittenAsTheyStand) {
  list_->append(make_rule(" \"a\"\\ &<\xC3\xA9 ", subject_test()));
  ASSERT_TRUE(save());
  EXPECT_NE(std::string::npos, saved().find("\n# RULE:  \"a\"\\ &<\xC3\xA9 \nelsif "));
}

TEST_F(SieveScript, WritesTheNameOfAFilterBeforeItLooksAtIt) {
  list_->append(make_rule("a", subject_test()));
  list_->filters.back()->name.clear();
  std::ostringstream out;
  EXPECT_FALSE(write_script(list_, false, out));
  EXPECT_EQ(opening + "# RULE: \nelsif ", out.str());
}

TEST_F(SieveScript, FoldersAreInImapEncodingAndDeleteIgnoresItsTarget) {
  const auto filter = make_rule("a", subject_test());
  filter->actions = {make_action("move", "R&D/x"), make_action("delete", "Work", "ignored")};
  std::ostringstream out;
  ASSERT_TRUE(write_filter(filter, out));
  EXPECT_EQ(
      " header :contains \"subject\" \"word\" {\n"
      "    fileinto \"R&-D/x\";\n"
      "    fileinto \"Trash\";\n"
      "    stop;\n"
      "}",
      out.str());
}

const struct {
  const char* what;
  void (*spoil)(Filter__&);
} spoiled[] = {{"no name", [](Filter__& filter) { filter.name.clear(); }},
               {"no action", [](Filter__& filter) { filter.actions.clear(); }},
               {"relation", [](Filter__& filter) { filter.relation = "noneof"; }},
               {"test", [](Filter__& filter) { filter.tests.emplace_back(); }},
               {"only test", [](Filter__& filter) { filter.tests.front().value = "\\"; }},
               {"method", [](Filter__& filter) { filter.actions.front().method = "keep"; }},
               {"action", [](Filter__& filter) { filter.actions.push_back(make_action("move")); }}};

TEST_F(SieveScript, OneInvalidRuleLeavesTheOldFileAlone) {
  for (const auto& c : spoiled) {
    write_file(path_, "old");
    list_->filters.clear();
    list_->append(boss_filter());
    list_->append(make_rule("spoilt", subject_test()));
    c.spoil(*list_->filters.back());
    EXPECT_FALSE(save()) << c.what;
    EXPECT_EQ("old", saved()) << c.what;
  }
}

TEST_F(SieveScript, RefusesAMissingFilter) {
  std::ostringstream out;
  EXPECT_FALSE(write_filter(boost::shared_ptr<Filter__>(), out));
  EXPECT_EQ("", out.str());
}

TEST_F(SieveScript, ReplacesALongerFile) {
  write_file(path_, std::string(10000, 'x'));
  ASSERT_TRUE(save());
  EXPECT_EQ(opening + closing, saved());
}

TEST_F(SieveScript, NeedsAFolderToWriteTo) {
  EXPECT_FALSE(list_->SaveToSieve(folder_.file("missing/script"), false));
  EXPECT_FALSE(list_->SaveToSieve(folder_.path(), false));
  EXPECT_FALSE(list_->SaveToSieve("", false));
}

TEST_F(SieveScript, DoesNotNoticeAFullDisk) { EXPECT_TRUE(list_->SaveToSieve("/dev/full", false)); }

TEST_F(SieveScript, IsNotSaidToBeWrittenWhereAStreamTookAPart) {
  std::ostringstream short_of_memory;
  short_of_memory.setstate(std::ios::badbit);
  EXPECT_FALSE(write_script(list_, false, short_of_memory));
}

TEST_F(SieveScript, OfAListThatNobodyOwnsThrows) {
  FilterList__ list;
  EXPECT_THROW((void)list.SaveToSieve(path_, false), boost::bad_weak_ptr);
  EXPECT_EQ("(no file)", saved());
}

}  // namespace
}  // namespace Quarrow::MessageFilters
