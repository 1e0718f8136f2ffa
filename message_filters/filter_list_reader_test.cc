// The rules document as it is read.
#include <gtest/gtest.h>

#include "message_filters/filter_list_xml.h"
#include "tests/support/rules_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::MessageFilters {
namespace {

const std::string no_tests = "<tests/>";
const std::string deletes = "<actions><action><method>delete</method></action></actions>";

std::string valid_test(const std::string& value) {
  return "<test><field>subject</field><comparator>is</comparator><value>" + value +
         "</value></test>";
}

class FilterListReader : public testing::Test {
 protected:
  boost::shared_ptr<FilterList__> load(const std::string& document) {
    write_file(path_, document);
    return FilterList__::LoadFromXML(path_);
  }

  boost::shared_ptr<FilterList__> load_filters(const std::string& filters) {
    return load("<filters version=\"1.0\">" + filters + "</filters>");
  }

  // The one filter in a document of one, with these attributes and children.
  boost::shared_ptr<Filter__> load_filter(const std::string& attributes, const std::string& tests,
                                          const std::string& actions) {
    const auto list = load_filters("<filter " + attributes + ">" + tests + actions + "</filter>");
    return list && list->filters.size() == 1 ? list->filters.front()
                                             : boost::shared_ptr<Filter__>();
  }

  // The test of a "test" element, valid or not.
  Condition read_test(const std::string& element) {
    write_file(path_, element);
    const XmlTree document = parse_xml_file(path_);
    return test_from_xml(document.get());
  }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.file("rules.xml");
};

TEST_F(FilterListReader, GivesNothingWithoutAReadableDocument) {
  EXPECT_FALSE(FilterList__::LoadFromXML(path_));
  EXPECT_FALSE(FilterList__::LoadFromXML(folder_.path()));
  for (const char* document : {"", "text", "<filters>", "<filters></filter>", "<filters/><x/>"})
    EXPECT_FALSE(load(document)) << document;
}

TEST_F(FilterListReader, GivesNothingForADocumentWithoutFilters) {
  EXPECT_FALSE(load("<filters version=\"1.0\"></filters>"));
  EXPECT_FALSE(load("<filters><Filter/><rule/></filters>"));
}

TEST_F(FilterListReader, TakesAnyRootAndIgnoresOtherElements) {
  const std::string filter = "<filter name=\"a\">" + no_tests + deletes + "</filter>";
  for (const auto& document : {"<rules version=\"7\">" + filter + "</rules>",
                               "<x><y><filter/></y>" + filter + "<z/></x>"}) {
    const auto list = load(document);
    ASSERT_TRUE(list) << document;
    EXPECT_EQ(1u, list->filters.size());
    EXPECT_EQ(list, list->shared_from_this());
  }
}

TEST_F(FilterListReader, MissingAttributesHaveDefaults) {
  const auto filter = load_filter("name=\"a\"", no_tests, deletes);
  ASSERT_TRUE(filter);
  EXPECT_EQ("a", filter->name);
  EXPECT_TRUE(filter->enabled);
  EXPECT_EQ(1, filter->id);
  EXPECT_EQ("allof", filter->relation);
  EXPECT_TRUE(filter->tests.empty());
}

TEST_F(FilterListReader, ReadsEnabled) {
  EXPECT_TRUE(load_filter("name=\"a\" enabled=\"true\"", no_tests, deletes)->enabled);
  EXPECT_FALSE(load_filter("name=\"a\" enabled=\"false\"", no_tests, deletes)->enabled);
}

TEST_F(FilterListReader, ReadsRelation) {
  const struct {
    const char* tests;
    const char* want;
  } cases[] = {{"<tests relation=\"anyof\"/>", "anyof"},
               {"<tests relation=\"allof\"/>", "allof"},
               {"<tests relation=\"\"/>", "allof"}};
  for (const auto& c : cases)
    EXPECT_EQ(c.want, load_filter("name=\"a\"", c.tests, deletes)->relation) << c.tests;
}

const struct {
  const char* text;
  std::int32_t want;
} id_texts[] = {{"7", 7},
                {"-4", -4},
                {" +5x", 5},
                {"2147483647", 2147483647},
                {"2147483648", -2147483647 - 1},
                {"4294967301", 5},
                {"99999999999999999999", -1},
                {"x", 1},
                {"", 1},
                {"0", 1},
                {"4294967296", 1}};

TEST_F(FilterListReader, IdsAreNumbersOf32Bits) {
  for (const auto& c : id_texts) {
    const auto filter =
        load_filter("name=\"a\" id=\"" + std::string(c.text) + '"', no_tests, deletes);
    ASSERT_TRUE(filter) << c.text;
    EXPECT_EQ(c.want, filter->id) << c.text;
  }
}

TEST_F(FilterListReader, FiltersWithoutIdGetTheNextFreeOne) {
  std::string filters;
  for (const char* id : {"0", "7", "7", "none", "3"}) {
    filters +=
        "<filter name=\"a\" id=\"" + std::string(id) + "\">" + no_tests + deletes + "</filter>";
  }
  const auto list = load_filters(filters);
  std::vector<std::int32_t> ids;
  for (const auto& filter : list->filters) ids.push_back(filter->id);
  EXPECT_EQ((std::vector<std::int32_t>{1, 7, 7, 8, 3}), ids);
  EXPECT_EQ(8, list->last_id);
}

const struct {
  std::string attributes, tests, actions;
} rejected_filters[] = {
    {"", no_tests, deletes},
    {"name=\"\"", no_tests, deletes},
    {"name=\"a\" enabled=\"TRUE\"", no_tests, deletes},
    {"name=\"a\" enabled=\"1\"", no_tests, deletes},
    {"name=\"a\" enabled=\"\"", no_tests, deletes},
    {"name=\"a\"", "", deletes},
    {"name=\"a\"", "<tests relation=\"ALLOF\"/>", deletes},
    {"name=\"a\"", "<tests relation=\"none\"/>", deletes},
    {"name=\"a\"", no_tests, ""},
    {"name=\"a\"", no_tests, "<actions/>"},
    {"name=\"a\"", no_tests, "<actions><action/></actions>"},
    {"name=\"a\"", no_tests, "<actions><action><method>keep</method></action></actions>"},
    {"name=\"a\"", no_tests, "<actions><action><method>move</method></action></actions>"},
    {"name=\"a\"", no_tests, "<actions><action><method> delete</method></action></actions>"}};

TEST_F(FilterListReader, RejectedFilterEndsTheProcess) {
  for (const auto& c : rejected_filters) {
    EXPECT_DEATH((void)load_filter(c.attributes, c.tests, c.actions), "px != 0")
        << c.attributes << c.tests << c.actions;
  }
}

TEST_F(FilterListReader, RejectedFilterEndsTheProcessBehindASoundOne) {
  const std::string sound = "<filter name=\"a\">" + no_tests + deletes + "</filter>";
  EXPECT_DEATH((void)load_filters(sound + "<filter/>"), "px != 0");
}

TEST_F(FilterListReader, KeepsTheFirstTenValidTests) {
  std::string tests = "<tests><test/>";
  for (int i = 1; i <= 12; ++i) tests += valid_test(std::to_string(i)) + "<test></test>";
  const auto filter = load_filter("name=\"a\"", tests + "</tests>", deletes);
  ASSERT_TRUE(filter);
  ASSERT_EQ(10u, filter->tests.size());
  EXPECT_EQ("1", filter->tests.front().value);
  EXPECT_EQ("10", filter->tests.back().value);
}

TEST_F(FilterListReader, DropsInvalidTests) {
  const auto filter = load_filter(
      "name=\"a\"",
      "<tests>" + valid_test("\\") + valid_test("") + valid_test("kept") + "<rule/></tests>",
      deletes);
  ASSERT_TRUE(filter);
  ASSERT_EQ(1u, filter->tests.size());
  EXPECT_EQ("kept", filter->tests.front().value);
}

TEST_F(FilterListReader, ReadsActionsAndDropsInvalidOnes) {
  const auto filter = load_filter("name=\"a\"", no_tests,
                                  "<actions><action><method>move</method></action>"
                                  "<action><method>copy</method><target>T</target>"
                                  "<value> V </value><target>U</target></action>"
                                  "<action><target>T</target></action>"
                                  "<action><method>delete</method><target></target></action>"
                                  "<action><method>delete\n</method></action></actions>");
  ASSERT_TRUE(filter);
  ASSERT_EQ(2u, filter->actions.size());
  EXPECT_EQ("copy", filter->actions.front().method);
  EXPECT_EQ("T", filter->actions.front().target);
  EXPECT_EQ(" V ", filter->actions.front().value);
  EXPECT_EQ("delete", filter->actions.back().method);
  EXPECT_EQ("", filter->actions.back().target);
}

TEST_F(FilterListReader, HasNoLimitOnActions) {
  std::string actions;
  for (int i = 0; i < 50; ++i) actions += "<action><method>delete</method></action>";
  const auto filter = load_filter("name=\"a\"", no_tests, "<actions>" + actions + "</actions>");
  ASSERT_TRUE(filter);
  EXPECT_EQ(50u, filter->actions.size());
}

TEST_F(FilterListReader, TestsStartWithDefaults) {
  for (const char* element : {"<test/>",
                              "<test><field type=\"x\"/><comparator case=\"TRUE\" negative=\"1\">x"
                              "</comparator><value/></test>",
                              "<test><field type=\"\"></field><comparator case=\"\"/></test>"}) {
    const Condition test = read_test(element);
    EXPECT_EQ("string", test.field.type);
    EXPECT_EQ("", test.field.name);
    EXPECT_TRUE(test.field.customized);
    EXPECT_FALSE(test.negative);
    EXPECT_FALSE(test.match_case);
    EXPECT_EQ("", test.comparator);
    EXPECT_EQ("", test.value);
  }
}

TEST_F(FilterListReader, TestsReadWhatTheyCanTake) {
  const Condition test = read_test(
      "<test><value> &lt;v&gt;\n</value><value>second</value><comparator negative=\"true\" "
      "case=\"true\">less</comparator><field type=\"size\">size</field></test>");
  EXPECT_EQ("size", test.field.type);
  EXPECT_EQ("size", test.field.name);
  EXPECT_TRUE(test.field.customized);
  EXPECT_TRUE(test.negative);
  EXPECT_TRUE(test.match_case);
  EXPECT_EQ("less", test.comparator);
  EXPECT_EQ(" <v>\n", test.value);
}

TEST_F(FilterListReader, UnknownFlagWordKeepsTheTest) {
  const auto filter = load_filter("name=\"a\"",
                                  "<tests><test><field>subject</field><comparator case=\"TRUE\">is"
                                  "</comparator><value>v</value></test></tests>",
                                  deletes);
  ASSERT_TRUE(filter);
  ASSERT_EQ(1u, filter->tests.size());
  EXPECT_FALSE(filter->tests.front().match_case);
}

bool same(const Test& a, const Test& b) {
  return a.field.type == b.field.type && a.field.name == b.field.name && a.negative == b.negative &&
         a.match_case == b.match_case && a.comparator == b.comparator && a.value == b.value &&
         b.field.customized;
}

bool same(const Action& a, const Action& b) {
  return a.method == b.method && a.target == b.target && a.value == b.value;
}

template <typename Item>
bool same(const std::list<Item>& a, const std::list<Item>& b) {
  return std::equal(
      a.begin(), a.end(), b.begin(), b.end(),
      [](const Item& x, const Item& y) { return same(x, y); });
}

// Every byte that a value can hold.
std::string all_bytes() {
  std::string bytes;
  for (int c = 1; c < 256; ++c)
    if (c != '\\' && c != '"') bytes += static_cast<char>(c);
  return bytes;
}

TEST_F(FilterListReader, ReadsWhatWasWritten) {
  const auto written = FilterList__::Create();
  for (const std::int32_t id : {5, 0, -4, 5, 0}) {
    const auto filter = make_filter(all_bytes() + '"' + std::to_string(id), id);
    filter->enabled = id != 5;
    filter->relation = id == 0 ? Filter__::ANYOF : Filter__::ALLOF;
    for (const char* value : {" ", "\n", "\r\n", "]]>", "<![CDATA[x]]>", "&#x;", "&amp;lt;"})
      filter->tests.push_back(subject_test(value));
    filter->tests.push_back(subject_test(all_bytes()));
    filter->tests.back().negative = true;
    filter->tests.push_back(make_test("address", "from_to_cc", "is", "bob"));
    filter->tests.back().match_case = true;
    filter->actions.push_back(make_action("move", "\\\"" + all_bytes(), "\x01&\x02"));
    written->append(filter);
  }
  ASSERT_TRUE(written->SaveToXML(path_));
  const auto read = FilterList__::LoadFromXML(path_);
  ASSERT_TRUE(read);
  ASSERT_EQ(written->filters.size(), read->filters.size());
  EXPECT_EQ(written->last_id, read->last_id);
  auto other = read->filters.begin();
  for (const auto& filter : written->filters) {
    EXPECT_EQ(filter->name, (*other)->name);
    EXPECT_EQ(filter->id, (*other)->id);
    EXPECT_EQ(filter->enabled, (*other)->enabled);
    EXPECT_EQ(filter->relation, (*other)->relation);
    EXPECT_TRUE(same(filter->tests, (*other)->tests));
    EXPECT_TRUE(same(filter->actions, (*other)->actions));
    ++other;
  }
}

TEST_F(FilterListReader, FilterWithoutIdIsLeftOutWhenNoneIsFree) {
  const auto list = load_filters("<filter name=\"a\" id=\"2147483647\">" + no_tests + deletes +
                                 "</filter><filter name=\"b\">" + no_tests + deletes + "</filter>");
  ASSERT_TRUE(list);
  EXPECT_EQ(1u, list->filters.size());
}

}  // namespace
}  // namespace Quarrow::MessageFilters
