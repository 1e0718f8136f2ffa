// Recipes: a line ":0 flags", conditions on lines with an asterisk, and a line for the action.
#include "importing/procmail_import.h"

#include <algorithm>
#include <optional>
#include <set>
#include <sstream>

#include "importing/condition.h"
#include "importing/mail_program.h"
#include "system/printable.h"

namespace Quarrow::Importing {
namespace {

using Administration::Refusal;
using MessageFilters::Action;
using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Test;

struct Line {
  std::size_t number = 0;
  std::string text;  // without blanks around it
};

std::string trimmed(const std::string& text) {
  const char blanks[] = " \t\r";
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

// The lines that are neither blank nor comments; one that ends in a backslash goes on in the next.
std::vector<Line> lines_of(const std::string& text) {
  std::vector<Line> lines;
  std::istringstream in(text);
  bool goes_on = false;
  std::size_t number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    std::string content = trimmed(line);
    const bool is_comment = content.empty() || content.front() == '#';
    const bool goes_on_here = !content.empty() && content.back() == '\\';
    if (goes_on_here) content.pop_back();
    if (goes_on)
      lines.back().text += content;
    else if (!is_comment)
      lines.push_back({number, content});
    goes_on = goes_on_here && (goes_on || !is_comment);
  }
  return lines;
}

// The variables that only say where the mail and the log are.
bool is_needless_variable(const std::string& name) {
  static const std::set<std::string> names = {
      "DEFAULT", "LINEBUF", "LOCKEXT", "LOCKFILE", "LOCKSLEEP", "LOCKTIMEOUT",
      "LOG",     "LOGFILE", "MAILDIR", "ORGMAIL",  "PATH",      "LOGABSTRACT",
      "SHELL",   "SUSPEND", "TIMEOUT", "UMASK",    "VERBOSE",   "HOME"};
  return names.count(name) != 0;
}

std::optional<Condition> size_condition(char relation, const std::string& number) {
  if (number.empty() || number.size() > 9 ||
      number.find_first_not_of("0123456789") != std::string::npos)
    return std::nullopt;
  const long bytes = std::stol(number);
  if (bytes % 1024 != 0) return std::nullopt;
  Test test;
  test.field = {Field::SIZE, Field::SIZE, true};
  test.comparator = relation == '>' ? Comparator::GREATER : Comparator::LESS;
  test.value = std::to_string(bytes / 1024);
  return single(test);
}

// The condition behind the asterisk.
std::optional<Condition> condition_of(std::string text, bool match_case) {
  const bool is_negative = !text.empty() && text.front() == '!';
  if (is_negative) text = trimmed(text.substr(1));
  if (text.empty()) return std::nullopt;
  const bool is_size = text.front() == '<' || text.front() == '>';
  const auto condition = is_size ? size_condition(text.front(), trimmed(text.substr(1)))
                                 : header_line_condition(text, match_case);
  return condition && is_negative ? negated(*condition) : condition;
}

class ProcmailImporter {
 public:
  ProcmailImporter(std::vector<Line> lines, ImportedRules& rules)
      : lines_(std::move(lines)), rules_(rules) {}

  void read() {
    while (at_ < lines_.size()) {
      const Line& line = lines_[at_];
      if (line.text.compare(0, 2, ":0") == 0)
        read_recipe();
      else
        read_other(line);
    }
  }

 private:
  void lose(std::size_t line, const std::string& reason) {
    rules_.losses.push_back({line, rule_, reason});
  }

  void read_other(const Line& line) {
    ++at_;
    rule_.clear();
    const std::string name = line.text.substr(0, line.text.find_first_of("= \t"));
    if (!is_needless_variable(name))
      lose(line.number, '"' + shortened(line.text) + "\" has no equal");
  }

  void read_recipe() {
    const Line start = lines_[at_++];
    rule_ = "Rule of line " + std::to_string(start.number);
    is_left_out_ = false;
    draft_ = {};
    draft_.line = start.number;
    draft_.name = rule_;
    const std::string flags = read_flags(start);
    const bool match_case = flags.find('D') != std::string::npos;
    std::vector<Condition> conditions;
    for (; at_ < lines_.size() && lines_[at_].text.front() == '*'; ++at_)
      if (const auto condition = condition_of(trimmed(lines_[at_].text.substr(1)), match_case))
        conditions.push_back(*condition);
      else
        leave_out(lines_[at_].number,
                  "the condition \"" + shortened(lines_[at_].text) + "\" has no equal");
    draft_.condition = all_of(conditions);
    if (at_ == lines_.size()) return leave_out(start.number, "a recipe without an action");
    read_action(lines_[at_++], flags.find('c') != std::string::npos);
    if (!is_left_out_) add_rule(draft_, rules_);
  }

  void leave_out(std::size_t line, const std::string& reason) {
    is_left_out_ = true;
    lose(line, reason + "; the rule is left out");
  }

  // The flags of a recipe. Those for pipes count for nothing, and a lock file does neither.
  std::string read_flags(const Line& start) {
    std::string flags = start.text.substr(2, start.text.find(':', 1) - 2);
    flags.erase(
        std::remove_if(flags.begin(), flags.end(), [](char c) { return c == ' ' || c == '\t'; }),
        flags.end());
    for (const char flag : flags)
      if (std::string("HDcwWi").find(flag) == std::string::npos)
        leave_out(start.number, std::string("the flag \"") + flag + "\" has no equal");
    return flags;
  }

  void read_action(const Line& line, bool is_copy) {
    const char first = line.text.empty() ? '\0' : line.text.front();
    if (first == '{') return skip_block(line);
    if (first == '!' || first == '|') {
      lose(line.number, '"' + shortened(line.text) + "\" has no equal; it is left out");
      is_left_out_ = is_left_out_ || is_copy;  // the message is not kept for its sake
      draft_.actions = {{Action::MOVE, "INBOX", ""}};
      return;
    }
    if (line.text == "/dev/null") {
      lose(line.number, "/dev/null has no equal; delete, which files into Trash, takes its place");
      draft_.actions = {{Action::DELETE, "", ""}};
      return;
    }
    const auto folder = folder_at(line.text);
    if (!folder) return leave_out(line.number, '"' + shortened(line.text) + "\" is no folder here");
    draft_.actions = {{is_copy ? Action::COPY : Action::MOVE, *folder, ""}};
    if (is_copy)
      lose(draft_.line,
           "messages go on to the rules behind it; here the first filter that matches decides");
  }

  // Up to the line that closes the block.
  void skip_block(const Line& start) {
    leave_out(start.number, "a block has no equal");
    std::size_t depth = 1;
    const bool is_closed = start.text.size() > 1 && start.text.back() == '}';
    for (; !is_closed && at_ < lines_.size() && depth > 0; ++at_) {
      const std::string& text = lines_[at_].text;
      if (!text.empty() && text.front() == '{' && text.back() != '}') ++depth;
      if (!text.empty() && text.front() == '}') --depth;
    }
  }

  std::vector<Line> lines_;
  ImportedRules& rules_;
  std::size_t at_ = 0;
  std::string rule_;  // the name of the recipe that is read
  RuleDraft draft_;
  bool is_left_out_ = false;
};

}  // namespace

Refusal read_procmail(const std::string& text, ImportedRules& rules) {
  ProcmailImporter(lines_of(text), rules).read();
  return {};
}

}  // namespace Quarrow::Importing
