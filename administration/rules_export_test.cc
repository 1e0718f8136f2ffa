// The texts that filters leave the system as.
#include "administration/rules_export.h"

#include <gtest/gtest.h>

#include "administration/administration_test_support.h"
#include "administration/rules_json.h"
#include "administration/rules_text.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::FilterList__;
using MessageFilters::make_action;
using MessageFilters::make_rule;
using MessageFilters::subject_test;

boost::shared_ptr<FilterList__> list_with_target(const std::string& target, bool enabled = true) {
  const auto rule = make_rule("a", subject_test(), enabled);
  rule->actions = {make_action("move", target)};
  const auto list = FilterList__::Create();
  list->append(rule);
  return list;
}

std::string exported(const boost::shared_ptr<FilterList__>& list, ExportForm form) {
  std::string text;
  EXPECT_EQ("", said(export_rules(list, form, "alice", text)));
  return text;
}

TEST(ExportRules, GivesJsonAndTheDocumentAndTheScript) {
  const auto list = list_with_target("Work");
  EXPECT_EQ(rules_json(*list) + '\n', exported(list, ExportForm::json));
  EXPECT_EQ(document_text(list) + '\n', exported(list, ExportForm::xml));
  EXPECT_EQ(script_text(list, false), exported(list, ExportForm::sieve));
}

TEST(ExportRules, TellsEncodedFoldersInComments) {
  const auto list = list_with_target(
      "Gr\xC3\xB6\xC3\x9F"
      "e");
  EXPECT_EQ(script_text(list, false) +
                "# Gr&APYA3w-e is the folder Gr\xC3\xB6\xC3\x9F"
                "e\n",
            exported(list, ExportForm::sieve));
  const auto disabled = list_with_target(
      "Gr\xC3\xB6\xC3\x9F"
      "e",
      false);
  EXPECT_EQ(script_text(disabled, false), exported(disabled, ExportForm::sieve));
}

TEST(ExportRules, RefusesJsonThatWouldLoseBytes) {
  const auto list = list_with_target("caf\xE9");
  std::string text = "before";
  expect_refusal(Kind::not_utf8, "alice",
                 "the filters hold a text that is not UTF-8, and JSON can't hold that; export them "
                 "as xml",
                 export_rules(list, ExportForm::json, "alice", text));
  EXPECT_EQ("before", text);
  EXPECT_NE(std::string::npos, exported(list, ExportForm::xml).find("caf\xE9"));
}

}  // namespace
}  // namespace Quarrow::Administration
