// Documents with and without parts that are not loaded.
#include "administration/document_loss.h"

#include <gtest/gtest.h>

#include "administration/rules_text.h"
#include "tests/support/repeated_test_support.h"

namespace Quarrow::Administration {
namespace {

std::string test_element(const std::string& field = R"(<field type="string">subject</field>)",
                         const std::string& comparator = "<comparator>is</comparator>") {
  return "<test>" + field + comparator + "<value>a &amp; b</value></test>";
}

std::string filter_element(const std::string& tests,
                           const std::string& actions = "<action><method>delete</method></action>",
                           const std::string& rest = "") {
  return R"(<filter name="a" enabled="true" id="7"><tests relation="anyof">)" + tests +
         "</tests><actions>" + actions + "</actions>" + rest + "</filter>";
}

std::string loss_of(const std::string& filters) {
  const std::string document = "<filters>" + filters + "</filters>";
  return document_loss(document, list_of(document));
}

const std::string plain = filter_element(test_element());

// What means the same in another form.
const std::string kept[] = {
    plain,
    plain + plain,
    "\n  " + plain + "\n<!-- a comment -->",
    filter_element("\n  " + test_element() + "\n  "),
    filter_element(test_element(R"(<field>subject</field>)")),
    filter_element(test_element("\n    <field>subject</field>")),
    filter_element(test_element(), "<action><method>delete</method></action>", "<more/>"),
    filter_element(test_element(R"(<field type="">subject</field>)")),
    filter_element(test_element(),
                   "<action><method>delete</method><target/><value></value></action>"),
    R"(<filter name="a"><actions><action><method>delete</method></action></actions><tests/></filter>)",
    (R"(<filter id="0" name="a"><tests relation=""/><actions><action><method>copy</method>)"
     R"(<target>x</target><value>more</value></action></actions></filter>)"),
};

const struct {
  std::string filters;
  const char* loss;
} lost[] = {
    {filter_element(test_element() +
                    test_element("<field>subject</field>", "<comparator>contians</comparator>")),
     "test 2 of filter 7"},
    {filter_element(test_element("<field>subject</field>", "<comparator>contians</comparator>") +
                    test_element()),
     "test 1 of filter 7"},
    {filter_element(test_element("more <field>subject</field>")), "test 1 of filter 7"},
    {filter_element(test_element(R"(<field type="strnig">subject</field>)") + test_element()),
     "test 1 of filter 7"},
    {filter_element(
         test_element("<field>subject</field>", R"(<comparator case="yes">is</comparator>)")),
     "test 1 of filter 7"},
    {filter_element("<tset/>" + test_element() + "<tset>x</tset>"),
     "test 1 of filter 7, test 3 of filter 7"},
    {filter_element(repeated(test_element(), 11)), "test 11 of filter 7"},
    {filter_element(repeated(test_element(), 30)),
     "test 11 of filter 7, test 12 of filter 7, test 13 of filter 7, test 14 of filter 7, "
     "test 15 of filter 7, test 16 of filter 7, test 17 of filter 7, test 18 of filter 7, "
     "test 19 of filter 7, test 20 of filter 7"},
    {filter_element(test_element(),
                    "<action><method>delete</method></action>"
                    "<action><method>forward</method></action>"),
     "action 2 of filter 7"},
    {filter_element(test_element(), "<action><method>delete</method></action>", "<more>x</more>"),
     "a part of filter 7"},
    {filter_element(test_element(), "<action><method>delete</method></action>", "more"),
     "a part of filter 7"},
    {filter_element(test_element(), "<action><method>delete</method></action>",
                    R"(<more colour="red"/><more><most/></more><actions><action/></actions>)"),
     "a part of filter 7, a part of filter 7, a part of filter 7"},
    {filter_element("more"), "a part of filter 7"},
    {R"(<filter name="a"><tests colour="red"/><actions><action><method>delete</method></action>)"
     "</actions></filter>",
     "a part of filter 1"},
    {R"(<filter name="a" colour="red"><tests/><actions><action><method>delete</method></action>)"
     "</actions></filter>",
     "a part of filter 1"},
    {"<rule>x</rule>" + plain, "an element that is no filter"},
    {repeated("<rule>x</rule>", 3) + plain + repeated("<rule>x</rule>", 9),
     "an element that is no filter, an element that is no filter, an element that is no filter, "
     "an element that is no filter, an element that is no filter, an element that is no filter, "
     "an element that is no filter, an element that is no filter, an element that is no filter, "
     "an element that is no filter"},
};

TEST(DocumentLoss, IsNoneWhereAllIsLoaded) {
  for (const auto& filters : kept) EXPECT_EQ("", loss_of(filters)) << filters;
  const std::string empty = document_text(MessageFilters::FilterList__::Create());
  EXPECT_EQ("", document_loss(empty, list_of(empty)));
  EXPECT_EQ("", document_loss("no document", list_of(empty)));
}

TEST(DocumentLoss, NamesWhatIsNotLoaded) {
  for (const auto& row : lost) EXPECT_EQ(row.loss, loss_of(row.filters)) << row.filters;
}

}  // namespace
}  // namespace Quarrow::Administration
