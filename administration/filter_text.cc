// Filters written and read line by line.
#include "administration/filter_text.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <sstream>

#include "administration/rule_check.h"
#include "administration/rule_text.h"
#include "system/printable.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;
using MessageFilters::Action;
using MessageFilters::Field;
using MessageFilters::Filter__;
using MessageFilters::Test;

// The lines of one text on their way into a filter.
class TextReader {
 public:
  TextReader(Delivery::FolderDots dots, const std::list<Field>& catalogue, Filter__& filter)
      : dots_(dots), catalogue_(catalogue), filter_(filter) {}

  Refusal take(const std::string& line) {
    if (line.find_first_not_of(" \t") == std::string::npos || line.front() == '#') return {};
    const std::size_t colon = std::min(line.find(':'), line.size());
    const std::string key = line.substr(0, colon);
    const auto part = parts_.find(key);
    if (colon == line.size() || part == parts_.end())
      return {Kind::wrong_rule, "", "begins with none of name:, enabled:, match:, if: and then:"};
    const bool may_repeat = key == "if" || key == "then";
    if (!may_repeat && !seen_.insert(key).second)
      return {Kind::wrong_rule, "", "\"" + key + "\" comes twice"};
    const std::size_t blank = colon + 1 < line.size() && line[colon + 1] == ' ' ? 1 : 0;
    return part->second(line.substr(colon + 1 + blank));
  }

 private:
  Refusal take_name(const std::string& value) {
    filter_.name = value;
    return check_name(value);
  }

  Refusal take_enabled(const std::string& value) {
    filter_.enabled = value == "yes";
    if (filter_.enabled || value == "no") return {};
    return {Kind::wrong_rule, "", "\"enabled\" is yes or no"};
  }

  Refusal take_match(const std::string& value) {
    filter_.relation = value == "any" ? Filter__::ANYOF : Filter__::ALLOF;
    if (value == "any" || value == "all") return {};
    return {Kind::wrong_rule, "", "\"match\" is all or any"};
  }

  Refusal take_test(const std::string& value) {
    Test test;
    Refusal refusal = read_test(value, test, catalogue_);
    if (!refusal) refusal = check_test(test);
    filter_.tests.push_back(test);
    return refusal;
  }

  Refusal take_action(const std::string& value) {
    Action action;
    Refusal refusal = read_action(value, action);
    if (!refusal) refusal = check_action(action, dots_);
    filter_.actions.push_back(action);
    return refusal;
  }

  const Delivery::FolderDots dots_;
  const std::list<Field>& catalogue_;
  Filter__& filter_;
  std::set<std::string> seen_;
  const std::map<std::string, std::function<Refusal(const std::string&)>> parts_ = {
      {"name", [this](const std::string& value) { return take_name(value); }},
      {"enabled", [this](const std::string& value) { return take_enabled(value); }},
      {"match", [this](const std::string& value) { return take_match(value); }},
      {"if", [this](const std::string& value) { return take_test(value); }},
      {"then", [this](const std::string& value) { return take_action(value); }}};
};

Refusal read_lines(const std::string& text, Delivery::FolderDots dots,
                   const std::list<Field>& catalogue, Filter__& filter) {
  TextReader reader(dots, catalogue, filter);
  std::istringstream lines(text);
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    Refusal refusal = reader.take(line);
    if (!refusal) continue;
    refusal.object = "line " + std::to_string(number);
    return refusal;
  }
  return {};
}

}  // namespace

std::string filter_text(const Filter__& filter) {
  const auto line = [](const char* key, const std::string& value) {
    const bool is_plain = !has_control_characters(value);
    return std::string(key) + ": " + (is_plain ? value : printable(value)) + '\n';
  };
  std::string text = "# filter " + std::to_string(filter.id) + '\n' + line("name", filter.name) +
                     line("enabled", filter.enabled ? "yes" : "no") +
                     line("match", filter.relation == Filter__::ANYOF ? "any" : "all");
  for (const Test& test : filter.tests) text += line("if", test_text(test));
  for (const Action& action : filter.actions) text += line("then", action_text(action));
  return text;
}

Refusal read_filter_text(const std::string& text, Delivery::FolderDots dots, Filter__& filter,
                         const std::list<Field>& catalogue) {
  Filter__ read = *Filter__::Create();
  read.id = filter.id;
  Refusal refusal = read_lines(text, dots, catalogue, read);
  if (!refusal) refusal = check_name(read.name);
  if (!refusal) refusal = check_counts(read.tests.size(), read.actions.size());
  if (!refusal) filter = read;
  return refusal;
}

}  // namespace Quarrow::Administration
