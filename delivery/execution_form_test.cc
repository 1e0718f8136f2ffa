// Scripts and their execution forms.
#include "delivery/execution_form.h"

#include <gtest/gtest.h>
#include <quarrow/filter_list.h>

#include "system/memory_file.h"
#include "tests/support/evaluation_test_support.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Delivery {
namespace {

using namespace MessageFilters;

std::string written(const boost::shared_ptr<FilterList__>& list) {
  const MemoryFile file;
  return list->SaveToSieve(file.path(), true) ? file.read() : std::string();
}

std::string script_of(const Condition& test) {
  const auto list = FilterList__::Create();
  list->append(make_rule("r", test));
  return written(list);
}

// The condition of the only branch in the execution form of a script with this test.
std::string condition_of(const Condition& test) {
  const std::string form = execution_form(script_of(test)).script;
  const std::size_t start = form.find("elsif ") + 6;
  return form.substr(start, form.find("{file", start) - start);
}

TEST(ExecutionForm, HasNoCommentsAndOneActionForEachBranch) {
  const auto list = FilterList__::Create();
  list->append(make_rule("One # \"two\"", subject_test("a")));
  const auto two = make_rule("Zwei", subject_test("b"));
  two->actions = {make_action("copy", "inbox/x"), make_action("move", "A")};
  list->append(two);
  const ExecutionForm form = execution_form(written(list));
  EXPECT_EQ(with_requirements("if false {\nkeep;\n}\n"
                              "elsif  header :contains \"subject\" \"a\" "
                              "{fileinto \"\x01\060\";stop;}\n"
                              "elsif  header :contains \"subject\" \"b\" "
                              "{fileinto \"\x01\061\";stop;}\n"
                              "fileinto \"\x01\062\";"),
            form.script);
  ASSERT_EQ(2U, form.branches.size());
  EXPECT_EQ("One # \"two\"", form.branches[0].rule);
  EXPECT_EQ("Zwei", form.branches[1].rule);
  ASSERT_EQ(3U, form.branches[1].actions.size());
  EXPECT_EQ("Inbox/x", form.branches[1].actions[0].mailbox);
}

const struct {
  const char* comparator;
  const char* value;
  const char* want;
} comparisons[] = {{"begin_with", "abc", R"( header :matches "subject" "abc*" )"},
                   {"begin_with", "[a] (b)", R"( header :matches "subject" "[a] (b)*" )"},
                   {"begin_with", "a$", R"( header :matches "subject" "a$*" )"},
                   {"end_with", "abc", R"( header :matches "subject" "*abc" )"},
                   {"end_with", "^a.b", R"( header :matches "subject" "*^a.b" )"},
                   {"end_with", "a/b", R"( header :matches "subject" "*a/b" )"},
                   // :matches can't say a star or a question mark.
                   {"begin_with", "a*b", R"( header :regex "subject" "^a\*b" )"},
                   {"end_with", "why?", R"( header :regex "subject" "why\?$" )"},
                   // Not anchored, though they look so.
                   {"contains", "^a", R"( header :contains "subject" "^a" )"},
                   {"is", "a$", R"( header :is "subject" "a$" )"}};

TEST(ExecutionForm, ComparesBeginningsAndEndsWithoutRegularExpressions) {
  for (const auto& c : comparisons)
    EXPECT_EQ(c.want, condition_of(make_test("string", "subject", c.comparator, c.value)));
}

const struct {
  const char* type;
  const char* field;
  const char* comparator;
  const char* value;
} tests_of_every_kind[] = {
    {"string", "to_cc", "end_with", "x"},     {"address", "from_to_cc", "is", "a@b"},
    {"size", "size", "less", "20"},           {"size", "size", "greater", "20"},
    {"date", "date", "before", "2010-05-01"}, {"date", "date", "after", "2010-05-01"},
    {"date", "date", "is", "2010-05-01"}};

TEST(ExecutionForm, KnowsEveryTestThatTheWriterWrites) {
  for (const auto& c : tests_of_every_kind) {
    Condition test = make_test(c.type, c.field, c.comparator, c.value);
    for (const int variant : {0, 1, 2, 3}) {
      test.negative = variant % 2 == 1;
      test.match_case = variant >= 2;
      EXPECT_EQ(1U, execution_form(script_of(test)).branches.size()) << script_of(test);
    }
  }
}

// Changes to a script with the expression "^a" that take the writer's shape from it.
const struct {
  std::string from;
  std::string to;
} changes[] = {{"\"^a\"", "\"^a.\""},
               {"\"^a\"", "\"a\""},
               {"\"^a\"", "\"^\""},
               {"\"^a\"", "\"^\\a\""},
               {"\"^a\"", "\"^a\\\""},
               {"\"^a\"", "\"^\\\\a\""},
               {"\"^a\"", "\"a\\$\""},
               {"\"^a\"", "\"\""},
               {"\"^a\"", std::string("\"^\0a\"", 6)},
               {":regex", ":REGEX"},
               {"header :regex", "header :regex :comparator \"i;octet\""},
               {"fileinto \"Trash\"", "reject \"Trash\""},
               {"    stop;\n", ""},
               {"# RULE: r\n", "# RULE: r\n# more\n"}};

TEST(ExecutionForm, LeavesOtherScriptsAsTheyAre) {
  const std::string own = script_of(make_test("string", "subject", "begin_with", "a"));
  std::vector<std::string> scripts = {"", "keep;", own + "keep;", own.substr(0, own.size() - 1),
                                      "\n" + own};
  for (const auto& change : changes) {
    std::string script = own;
    scripts.push_back(script.replace(script.find(change.from), change.from.size(), change.to));
  }
  ASSERT_EQ(1U, execution_form(own).branches.size());
  for (const std::string& script : scripts) {
    const ExecutionForm form = execution_form(script);
    EXPECT_EQ(script, form.script);
    EXPECT_TRUE(form.branches.empty()) << script;
  }
}

std::string script_of_every_kind() {
  const auto list = FilterList__::Create();
  const auto all = make_rule("all", make_test("string", "from_to_cc", "begin_with", "x"));
  for (const auto& c : tests_of_every_kind)
    all->tests.push_back(make_test(c.type, c.field, c.comparator, c.value));
  all->actions.push_back(make_action("copy", "A"));
  list->append(all);
  for (const auto& c : tests_of_every_kind)
    list->append(make_rule("one", make_test(c.type, c.field, c.comparator, c.value)));
  return written(list);
}

TEST(ExecutionForm, LeavesAScriptWithAListOfNoTestsAsItIs) {
  std::string script = script_of_every_kind();
  const std::size_t list = script.find("of(") + 3;
  script.erase(list, script.find("{\n", list) - list);
  EXPECT_EQ(script, execution_form(script).script);
}

TEST(ExecutionForm, LeavesAScriptThatIsCutOffAnywhereAsItIs) {
  const std::string own = script_of_every_kind();
  ASSERT_EQ(1 + std::size(tests_of_every_kind), execution_form(own).branches.size());
  for (std::size_t length = 0; length < own.size(); ++length) {
    const std::string script = own.substr(0, length);
    const ExecutionForm form = execution_form(script);
    EXPECT_EQ(script, form.script);
    EXPECT_TRUE(form.branches.empty()) << script;
  }
}

TEST(ExecutionForm, HasNoMarkWithoutBranches) {
  const ExecutionForm form = execution_form(written(FilterList__::Create()));
  EXPECT_EQ(with_requirements("if false {\nkeep;\n}\n"), form.script);
  EXPECT_TRUE(form.branches.empty());
}

TEST(ExecutionForm, LeavesAScriptThatIsNotReadToItsEndAsItIs) {
  const auto list = FilterList__::Create();
  std::string script;
  while (script.size() <= 32768) {
    EXPECT_EQ(list->filters.size(), execution_form(script).branches.size());
    list->append(make_rule("r", subject_test("a")));
    script = written(list);
  }
  EXPECT_EQ(script, execution_form(script).script);
  EXPECT_TRUE(execution_form(script).branches.empty());
}

TEST(ExecutionForm, NamesTheBranchAndGivesItsActions) {
  const auto list = FilterList__::Create();
  list->append(make_rule("One", subject_test("a")));
  list->append(make_rule("Two", subject_test("b")));
  const ExecutionForm form = execution_form(written(list));
  const auto matcher = matcher_of(form.script);
  ASSERT_NE(nullptr, matcher);
  SieveMatchResult result = outcome(*matcher, "Subject: b\n\n");
  EXPECT_EQ("Two", complete(form, result));
  EXPECT_EQ("MatchResult [action=FILEINTO:Trash]", text_of(result));
  result = outcome(*matcher, "Subject: c\n\n");
  EXPECT_FALSE(is_cut_short(form, result));
  EXPECT_EQ("", complete(form, result));
  EXPECT_EQ("MatchResult []", text_of(result));
}

TEST(ExecutionForm, ARunWithoutAnEndIsKnown) {
  const auto list = FilterList__::Create();
  list->append(make_rule("One", make_test("address", "from", "contains", "zz")));
  list->append(make_rule("Two", subject_test("b")));
  const ExecutionForm form = execution_form(written(list));
  const auto matcher = matcher_of(form.script);
  EXPECT_TRUE(is_cut_short(form, SieveMatchResult()));  // the interpreter leaves this then
  EXPECT_FALSE(is_cut_short(form, outcome(*matcher, "From: x@b\nSubject: b\n\n")));
  EXPECT_FALSE(is_cut_short(form, outcome(*matcher, "From: x@b\nSubject: c\n\n")));
}

TEST(ExecutionForm, NothingIsKnownAboutTheEndOfAnotherScript) {
  EXPECT_FALSE(is_cut_short(execution_form("stop;"), SieveMatchResult()));
}

// So many that sorting them does not keep their order.
TEST(ExecutionForm, ManyActionsComeInTheOrderThatTheScriptGives) {
  const auto filter = make_rule("Many", subject_test("a"));
  for (int i = 0; i < 30; ++i)
    filter->actions.push_back(make_action(i % 3 == 0 ? "copy" : "move", "F" + std::to_string(i)));
  const auto list = FilterList__::Create();
  list->append(filter);
  const std::string script = written(list);
  const ExecutionForm form = execution_form(script);
  SieveMatchResult result = outcome(*matcher_of(form.script), "Subject: a\n\n");
  EXPECT_EQ("Many", complete(form, result));
  EXPECT_EQ(result_of(script, "Subject: a\n\n"), text_of(result));
}

TEST(ExecutionForm, AnActionThatLooksLikeAMarkIsLeftAlone) {
  const ExecutionForm form = execution_form("require \"fileinto\"; fileinto \"\x01\060\";");
  SieveMatchResult result = outcome(*matcher_of(form.script), "\n");
  EXPECT_EQ("", complete(form, result));
  EXPECT_EQ(1U, result.actions.size());
}

TEST(ExecutionForm, AnActionThatIsNoMarkIsLeftAlone) {
  const ExecutionForm form = execution_form(script_of(subject_test("a")));
  ASSERT_EQ(1U, form.branches.size());
  SieveAction keep;
  keep.type = SieveAction::KEEP;
  std::vector<SieveAction> no_marks = {keep};
  for (const char* const folder : {"Other", "\x01\062", "\x01x", "\x01"}) {
    SieveAction action;
    action.type = SieveAction::FILEINTO;
    action.mailbox = folder;
    no_marks.push_back(action);
  }
  for (const SieveAction& action : no_marks) {
    SieveMatchResult result;
    result.add_action(action);
    const std::string before = text_of(result);
    EXPECT_EQ("", complete(form, result));
    EXPECT_EQ(before, text_of(result));
  }
}

}  // namespace
}  // namespace Quarrow::Delivery
