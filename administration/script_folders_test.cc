// Scripts whose folders have names, and scripts in which a name is missing.
#include "administration/script_folders.h"

#include <gtest/gtest.h>

#include <sstream>

#include "administration/rules_text.h"
#include "message_filters/sieve_script.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Action;
using MessageFilters::FilterList__;
using MessageFilters::make_action;
using MessageFilters::make_rule;
using MessageFilters::subject_test;

boost::shared_ptr<FilterList__> list_of_actions(const std::vector<Action>& actions,
                                                const std::string& name = "rule") {
  const auto list = FilterList__::Create();
  const auto filter = make_rule(name, subject_test());
  filter->actions.assign(actions.begin(), actions.end());
  EXPECT_TRUE(list->append(filter));
  return list;
}

boost::shared_ptr<FilterList__> list_into(const std::string& folder) {
  return list_of_actions({make_action("move", folder)});
}

std::string script_of(const FilterList__& list) {
  std::ostringstream script;
  EXPECT_TRUE(write_script(boost::const_pointer_cast<FilterList__>(list.shared_from_this()), false,
                           script));
  return script.str();
}

TEST(ScriptFolders, AreNamedByTheirScript) {
  for (const std::string folder : {"Work", "Work/2009", "/", "a//b", "a///", "/a/", "\xc3\x84rger",
                                   "a&b", "a\nb", "a\"b", "\xff", "stop;\n}", "{\n", " "}) {
    const auto list = list_into(folder);
    EXPECT_TRUE(names_all_folders(script_of(*list), *list, false)) << folder;
  }
  const auto longest = list_into(std::string(2000, 'x') + '/' + std::string(2000, 'y'));
  EXPECT_TRUE(names_all_folders(script_of(*longest), *longest, false));
}

TEST(ScriptFolders, OfAllActionsAreNamed) {
  const auto list = list_of_actions(
      {make_action("copy", "a/b"), make_action("delete"), make_action("move", "c")});
  EXPECT_TRUE(names_all_folders(script_of(*list), *list, false));
  list->filters.push_back(make_rule("without a branch", subject_test(), false));
  EXPECT_TRUE(names_all_folders(script_of(*list), *list, false));
  EXPECT_FALSE(names_all_folders(script_of(*list), *list, true));
}

TEST(ScriptFolders, AreNotTakenFromAFiltersName) {
  const auto list = list_of_actions({make_action("move", "Work")}, "a\n    fileinto \"\";\n");
  EXPECT_TRUE(names_all_folders(script_of(*list), *list, false));
}

// The name `name` in place of the last level of Work/2009.
bool is_named_with(const std::string& name) {
  const auto list = list_into("Work/2009");
  std::string script = script_of(*list);
  const std::string whole = "\"Work/2009\"";
  return names_all_folders(script.replace(script.find(whole), whole.size(), '"' + name + '"'),
                           *list, false);
}

TEST(ScriptFolders, AreMissedWhereTheyAreEmpty) {
  EXPECT_TRUE(is_named_with("Work/2009"));
  for (const char* const name : {"", "/", "Work/", "/2009", "Work"})
    EXPECT_FALSE(is_named_with(name)) << name;
}

}  // namespace
}  // namespace Quarrow::Administration
