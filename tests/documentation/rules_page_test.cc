// What quarrow-rules(5) says of tests and actions is what the administration reads.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "administration/rule_check.h"
#include "administration/rule_text.h"
#include "administration/rule_words.h"
#include "tests/support/temporary_folder_test_support.h"

namespace {

using namespace Quarrow::Administration;
using Quarrow::Delivery::FolderDots;
using Quarrow::MessageFilters::Action;
using RuleTest = Quarrow::MessageFilters::Test;

using Lines = std::vector<std::string>;

// The lines of a subsection of the page.
Lines section(const std::string& heading) {
  std::istringstream page(content_of(DOCS_FOLDER "/man/quarrow-rules.5"));
  Lines lines;
  bool is_inside = false;
  for (std::string line; std::getline(page, line);)
    if (line.rfind(".Ss ", 0) == 0 || line.rfind(".Sh ", 0) == 0)
      is_inside = line == ".Ss " + heading;
    else if (is_inside)
      lines.push_back(line);
  EXPECT_FALSE(lines.empty()) << heading;
  return lines;
}

// The lines of the literal block in a subsection.
Lines examples(const std::string& heading) {
  Lines lines = section(heading);
  const auto is_macro = [](const std::string& line) { return line.front() == '.'; };
  lines.erase(std::remove_if(lines.begin(), lines.end(), is_macro), lines.end());
  EXPECT_LT(4U, lines.size()) << heading;
  return lines;
}

// Texts and their exact forms, each of which is an indented line below the text.
std::vector<std::pair<std::string, std::string>> pairs(const std::string& heading) {
  const std::string indent(4, ' ');
  std::vector<std::pair<std::string, std::string>> found;
  for (const auto& line : examples(heading))
    if (line.rfind(indent, 0) != 0)
      found.emplace_back(line, "");
    else
      found.back().second = line.substr(indent.size());
  return found;
}

// The words of the entries of the list in a subsection, by the entry.
std::map<std::string, std::set<std::string>> entries(const std::string& heading) {
  const std::string entry = ".It Cm ";
  std::map<std::string, std::set<std::string>> found;
  std::string name;
  for (const auto& line : section(heading)) {
    if (line.rfind(entry, 0) == 0) {
      name = line.substr(entry.size());
      found[name] = {name};
    } else if (line == ".El") {
      name.clear();
    } else if (!name.empty()) {
      std::string rest = line;
      for (std::size_t end = rest.find(", "); end != std::string::npos; end = rest.find(", ")) {
        found[name].insert(rest.substr(0, end));
        rest.erase(0, end + 2);
      }
      found[name].insert(rest);
    }
  }
  return found;
}

// The same of phrases; those with one of `fronts` in front are left out.
std::map<std::string, std::set<std::string>> by_meaning(const std::vector<Phrase>& phrases,
                                                        const Lines& fronts) {
  std::map<std::string, std::set<std::string>> found;
  for (const auto& phrase : phrases)
    if (std::none_of(fronts.begin(), fronts.end(), [&phrase](const std::string& front) {
          return phrase.words.rfind(front, 0) == 0;
        }))
      found[phrase.meaning].insert(phrase.words);
  return found;
}

Refusal taken_test(const std::string& text, RuleTest& test) {
  const Refusal refusal = read_test(text, test);
  return refusal ? refusal : check_test(test);
}

Refusal taken_action(const std::string& text, Action& action) {
  const Refusal refusal = read_action(text, action);
  return refusal ? refusal : check_action(action, FolderDots::inbox);
}

TEST(RulesPage, ExamplesOfTestsAreRead) {
  for (const auto& [text, exact] : pairs("Examples of tests")) {
    RuleTest test;
    EXPECT_EQ("", taken_test(text, test).reason) << text;
    EXPECT_EQ(exact, test_text(test)) << text;
  }
}

TEST(RulesPage, ExamplesOfActionsAreRead) {
  for (const auto& [text, exact] : pairs("Examples of actions")) {
    Action action;
    EXPECT_EQ("", taken_action(text, action).reason) << text;
    EXPECT_EQ(exact, action_text(action)) << text;
  }
}

// What stands in quotes behind each such option in the page.
Lines arguments(const std::string& option) {
  const std::string page = content_of(DOCS_FOLDER "/man/quarrow-rules.5");
  const std::string start = option + " '";
  Lines found;
  for (std::size_t at = page.find(start); at != std::string::npos; at = page.find(start, at + 1)) {
    const std::size_t begin = at + start.size();
    found.push_back(page.substr(begin, page.find('\'', begin) - begin));
  }
  EXPECT_FALSE(found.empty()) << option;
  return found;
}

TEST(RulesPage, CommandsAreRead) {
  RuleTest test;
  for (const auto& text : arguments("--if")) EXPECT_EQ("", taken_test(text, test).reason) << text;
  Action action;
  for (const auto& text : arguments("--then"))
    EXPECT_EQ("", taken_action(text, action).reason) << text;
}

TEST(RulesPage, ExamplesOfMistakesAreRefused) {
  RuleTest test;
  for (const auto& text : examples("Examples of tests that are refused"))
    EXPECT_TRUE(taken_test(text, test)) << text;
  Action action;
  for (const auto& text : examples("Examples of actions that are refused"))
    EXPECT_TRUE(taken_action(text, action)) << text;
}

TEST(RulesPage, HasAllPhrases) {
  EXPECT_EQ(by_meaning(comparator_phrases(""), {"not ", "does not ", "is "}),
            entries("Comparators"));
  EXPECT_EQ(by_meaning(action_phrases(), {}), entries("Actions"));
}

TEST(RulesPage, HasAllFieldsWithTheirTypes) {
  std::map<std::string, std::string> told;
  std::string name;
  for (const auto& line : section("Fields"))
    if (line.rfind(".It Cm ", 0) == 0)
      name = line.substr(7);
    else if (line == ".El")
      name.clear();
    else if (!name.empty())
      told[name] = line;
  std::map<std::string, std::string> known;
  std::set<std::string> seen;
  for (const auto& phrase : field_phrases()) {
    std::string& line = known[phrase.meaning];
    if (line.empty()) line = type_of_field(phrase.meaning);
    if (phrase.words == phrase.meaning || !seen.insert(phrase.words).second) continue;
    line += (line.find(';') == std::string::npos ? "; " : ", ") + phrase.words;
  }
  EXPECT_EQ(known, told);
}

}  // namespace
