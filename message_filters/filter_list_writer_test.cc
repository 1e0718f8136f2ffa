// The rules document as it is written.
#include <gtest/gtest.h>

#include <boost/smart_ptr/bad_weak_ptr.hpp>
#include <functional>

#include "message_filters/filter_list_xml.h"
#include "message_filters/xml_text.h"
#include "tests/support/rules_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::MessageFilters {
namespace {

const std::string declaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

class FilterListWriter : public testing::Test {
 protected:
  bool save() { return list_->SaveToXML(path_); }
  std::string saved() const { return content_of(path_); }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.file("rules.xml");
  const boost::shared_ptr<FilterList__> list_ = FilterList__::Create();
};

TEST_F(FilterListWriter, WritesTwoLines) {
  const auto filter = make_rule("Reports", subject_test("quarterly"));
  filter->id = 3;
  filter->relation = Filter__::ANYOF;
  filter->tests.front().field.name = "Subject";
  filter->actions = {make_action("move", "Reports")};
  list_->append(filter);
  ASSERT_TRUE(save());
  EXPECT_EQ(declaration +
                R"(<filters version="1.0"><filter name="Reports" enabled="true" id="3">)"
                R"(<tests relation="anyof"><test><field type="string">Subject</field>)"
                R"(<comparator case="false" negative="false">contains</comparator>)"
                R"(<value>quarterly</value></test></tests>)"
                R"(<actions><action><method>move</method><target>Reports</target></action>)"
                R"(</actions></filter></filters>)",
            saved());
}

TEST_F(FilterListWriter, WritesFlagsAndAllOfAnAction) {
  const auto filter = make_rule("a", make_test("size", "size", "less", "5"), false);
  filter->id = -4;
  filter->tests.front().negative = true;
  filter->tests.push_back(subject_test("x"));
  filter->tests.back().match_case = true;
  filter->actions = {make_action("delete"), make_action("copy", "T", "V"),
                     make_action("delete", "", "V")};
  list_->append(filter);
  list_->append(make_filter("b"));
  ASSERT_TRUE(save());
  EXPECT_EQ(declaration +
                R"(<filters version="1.0"><filter name="a" enabled="false" id="-4">)"
                R"(<tests relation="allof"><test><field type="size">size</field>)"
                R"(<comparator case="false" negative="true">less</comparator>)"
                R"(<value>5</value></test><test><field type="string">subject</field>)"
                R"(<comparator case="true" negative="false">contains</comparator>)"
                R"(<value>x</value></test></tests><actions>)"
                R"(<action><method>delete</method></action>)"
                R"(<action><method>copy</method><target>T</target><value>V</value></action>)"
                R"(<action><method>delete</method><value>V</value></action></actions></filter>)"
                R"(<filter name="b" enabled="true" id="1"><tests relation="allof"></tests>)"
                R"(<actions><action><method>delete</method></action></actions></filter></filters>)",
            saved());
}

TEST_F(FilterListWriter, EscapesWhatMeansSomethingInXml) {
  const auto filter = make_rule("<\"'&\t\n\r>", subject_test("<'&\t\n\r>\xC3\xA9\xFF"));
  list_->append(filter);
  ASSERT_TRUE(save());
  EXPECT_NE(std::string::npos,
            saved().find("<filter name=\"&lt;&quot;'&amp;&#x9;&#xA;&#xD;&gt;\""));
  EXPECT_NE(std::string::npos, saved().find("<value>&lt;'&amp;\t\n&#xD;&gt;\xC3\xA9\xFF</value>"));
}

TEST_F(FilterListWriter, WritesAnEmptyList) {
  write_file(path_, std::string(1000, 'x'));
  ASSERT_TRUE(save());
  EXPECT_EQ(declaration + "<filters version=\"1.0\"></filters>", saved());
  EXPECT_FALSE(FilterList__::LoadFromXML(path_));
}

const std::string with_nul("a\0b", 3);

const struct {
  const char* what;
  std::function<void(Filter__&)> spoil;
} faults[] = {
    {"no name", [](Filter__& filter) { filter.name.clear(); }},
    {"no actions", [](Filter__& filter) { filter.actions.clear(); }},
    {"relation", [](Filter__& filter) { filter.relation = "none"; }},
    {"last test", [](Filter__& filter) { filter.tests.emplace_back(); }},
    {"field type", [](Filter__& filter) { filter.tests.front().field.type = "x"; }},
    {"field name", [](Filter__& filter) { filter.tests.front().field.name.clear(); }},
    {"comparator", [](Filter__& filter) { filter.tests.front().comparator = "x"; }},
    {"value", [](Filter__& filter) { filter.tests.front().value.clear(); }},
    {"last action", [](Filter__& filter) { filter.actions.push_back(make_action("copy")); }},
    {"NUL in the name", [](Filter__& filter) { filter.name = with_nul; }},
    {"NUL in a field", [](Filter__& filter) { filter.tests.front().field.name = with_nul; }},
    {"NUL in a value", [](Filter__& filter) { filter.tests.front().value = with_nul; }},
    {"NUL in a target", [](Filter__& filter) { filter.actions.front().target = with_nul; }},
    {"NUL in an operand", [](Filter__& filter) { filter.actions.front().value = with_nul; }},
    {"too many tests",
     [](Filter__& filter) { filter.tests.resize(most_xml_children + 1, subject_test()); }},
    {"too many actions", [](Filter__& filter) {
       filter.actions.resize(most_xml_children + 1, make_action("delete"));
     }}};

TEST_F(FilterListWriter, WhatIsInvalidLeavesTheFileEmpty) {
  for (const auto& c : faults) {
    write_file(path_, "old");
    list_->filters.clear();
    list_->append(make_rule("sound", subject_test()));
    list_->append(make_rule("spoilt", subject_test()));
    c.spoil(*list_->filters.back());
    EXPECT_FALSE(save()) << c.what;
    EXPECT_EQ("", saved()) << c.what;
  }
}

TEST_F(FilterListWriter, RefusesEmptyPointers) {
  EXPECT_FALSE(filter_list_to_xml(boost::shared_ptr<FilterList__>()));
  list_->filters.push_back(boost::shared_ptr<Filter__>());
  EXPECT_FALSE(save());
  EXPECT_EQ("", saved());
}

TEST_F(FilterListWriter, RefusesMoreFiltersThanCanBeReadAgain) {
  list_->filters.assign(most_xml_children + 1, make_filter("a"));
  EXPECT_FALSE(save());
  EXPECT_EQ("", saved());
}

TEST_F(FilterListWriter, WritesAsManyFiltersAsCanBeReadAgain) {
  list_->filters.assign(most_xml_children, make_filter("a"));
  ASSERT_TRUE(save());
  const auto again = FilterList__::LoadFromXML(path_);
  ASSERT_TRUE(again);
  EXPECT_EQ(most_xml_children, again->filters.size());
}

TEST_F(FilterListWriter, NeedsAFolderToWriteTo) {
  EXPECT_FALSE(list_->SaveToXML(folder_.file("missing/rules.xml")));
  EXPECT_FALSE(list_->SaveToXML(folder_.path()));
  EXPECT_FALSE(std::filesystem::exists(folder_.file("missing")));
}

TEST_F(FilterListWriter, DoesNotNoticeAFullDisk) { EXPECT_TRUE(list_->SaveToXML("/dev/full")); }

TEST_F(FilterListWriter, OfAListThatNobodyOwnsThrows) {
  write_file(path_, "old");
  FilterList__ list;
  EXPECT_THROW((void)list.SaveToXML(path_), boost::bad_weak_ptr);
  FilterList__ copy(*list_);
  EXPECT_THROW((void)copy.SaveToXML(path_), boost::bad_weak_ptr);
  EXPECT_EQ("", saved());
}

}  // namespace
}  // namespace Quarrow::MessageFilters
