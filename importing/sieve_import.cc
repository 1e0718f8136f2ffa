// From a script's commands to rules, of which the first that matches decides.
#include "importing/sieve_import.h"

#include <algorithm>
#include <sstream>

#include "importing/condition.h"
#include "importing/sieve_actions.h"
#include "importing/sieve_condition.h"
#include "importing/sieve_syntax.h"
#include "system/printable.h"

namespace Quarrow::Importing {
namespace {

using Administration::Refusal;
using MessageFilters::Action;

// Every script of our own holds it.
const char own_mark[] = "# auto generated sieve script\n# do not modify\n";

std::string trimmed(const std::string& text, const char* characters) {
  const std::size_t begin = text.find_first_not_of(characters);
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(characters) + 1 - begin);
}

// The name in a line of a comment; empty where there is none.
std::string name_in(const std::string& line) {
  const std::string text = trimmed(line, "# \t\r");
  std::string start = text.substr(0, text.find(':'));
  std::transform(start.begin(), start.end(), start.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  if (start.size() == text.size() || (start != "rule" && start != "filter" && start != "name"))
    return "";
  std::string name = trimmed(text.substr(start.size() + 1), " \t");
  if (name.size() > 1 && name.front() == '[' && name.back() == ']')
    name = name.substr(1, name.size() - 2);
  return with_controls_as(' ', name);
}

// The name in the comment before a rule; a name by its line where there is none.
std::string name_of(const SieveNode& command) {
  std::istringstream lines(command.comment);
  std::string name;
  for (std::string line; std::getline(lines, line);)
    if (const std::string found = name_in(line); !found.empty()) name = found;
  return name.empty() ? "Rule of line " + std::to_string(command.line) : name;
}

bool is_branch(const SieveNode& command) {
  return command.name == "if" || command.name == "elsif" || command.name == "else";
}

class SieveImporter {
 public:
  SieveImporter(SieveStrings strings, ImportedRules& rules) : strings_(strings), rules_(rules) {}

  void read(const std::vector<SieveNode>& commands) {
    auto at = commands.begin();
    while (at != commands.end()) {
      const bool is_chain = is_branch(*at);
      const auto end =
          is_chain ? end_of_chain(at, commands.end()) : std::find_if(at, commands.end(), is_branch);
      is_last_ = std::all_of(end, commands.end(),
                             [](const SieveNode& node) { return node.name == "require"; });
      if (is_chain)
        read_chain(at, end);
      else if (!read_actions({at, end}))
        return;
      at = end;
    }
  }

 private:
  using Place = std::vector<SieveNode>::const_iterator;

  static Place end_of_chain(Place at, Place end) {
    return std::find_if(
        std::next(at), end,
        [](const SieveNode& node) { return node.name != "elsif" && node.name != "else"; });
  }

  void lose(std::size_t line, const std::string& rule, const std::string& reason) {
    rules_.losses.push_back({line, rule, reason});
  }

  void read_chain(Place at, Place end) {
    for (; at != end; ++at) read_branch(*at);
  }

  void read_branch(const SieveNode& branch) {
    RuleDraft draft = draft_of(branch);
    const bool is_else = branch.name == "else";
    if (branch.tests.size() != (is_else ? 0 : 1) || !branch.arguments.empty())
      return lose(branch.line, draft.name, "a branch without its test; the rule is left out");
    const SieveNode* const test = is_else ? nullptr : &branch.tests.front();
    if (test && test->name == "false" && !read_disabled(branch, draft)) return;
    if (test && draft.enabled && !read_condition(*test, draft)) return;
    add(branch, branch.block, draft);
  }

  static RuleDraft draft_of(const SieveNode& command) {
    RuleDraft draft;
    draft.line = command.line;
    draft.name = name_of(command);
    draft.condition = all_of({});
    return draft;
  }

  bool read_condition(const SieveNode& test, RuleDraft& draft) {
    std::vector<SieveMismatch> mismatches;
    const auto condition = sieve_condition(test, strings_, mismatches);
    if (condition) draft.condition = *condition;
    for (const auto& mismatch : mismatches)
      lose(mismatch.line, draft.name, mismatch.reason + "; the rule is left out");
    return condition.has_value();
  }

  // Front ends write "if false # anyof (...)" for a rule that is switched off. A branch that is
  // never taken, and has no such comment, is no rule.
  bool read_disabled(const SieveNode& branch, RuleDraft& draft) {
    if (branch.block_comment.empty()) return false;
    const auto test = parse_sieve_test(branch.block_comment, branch.line);
    draft.enabled = false;
    if (test) return read_condition(*test, draft);
    lose(branch.line, draft.name, "a rule that is switched off, without its test; it is left out");
    return false;
  }

  // Commands outside of any condition. False when nothing behind them is run.
  bool read_actions(const std::vector<SieveNode>& commands) {
    const auto first = std::find_if(commands.begin(), commands.end(),
                                    [](const SieveNode& node) { return node.name != "require"; });
    if (first == commands.end()) return true;
    const SieveActions found = sieve_actions(commands, strings_);
    const bool is_needless =
        found.losses.empty() && (is_last_ || found.stops) && found.actions.size() == 1 &&
        found.actions.front().method == Action::MOVE && found.actions.front().target == "INBOX";
    if (!is_needless) add(*first, commands, draft_of(*first));
    return !found.stops;
  }

  void add(const SieveNode& start, const std::vector<SieveNode>& commands, RuleDraft draft) {
    const SieveActions found = sieve_actions(commands, strings_);
    for (const auto& loss : found.losses) lose(loss.line, draft.name, loss.reason);
    if (found.is_nested)
      return lose(start.line, draft.name, "the rule with that block is left out");
    if (!found.stops && !is_last_)
      lose(start.line, draft.name,
           "messages go on to the rules behind it, for want of a \"stop\"; here the first filter "
           "that matches decides");
    draft.actions = found.actions;
    add_rule(draft, rules_);
  }

  SieveStrings strings_;
  ImportedRules& rules_;
  bool is_last_ = false;  // nothing is run behind the commands that are read
};

}  // namespace

Refusal read_sieve(const std::string& script, ImportedRules& rules) {
  SieveFault fault;
  const auto commands = parse_sieve(script, fault);
  if (!commands)
    return {Refusal::Kind::wrong_rule, "line " + std::to_string(fault.line),
            "no Sieve script: " + fault.reason};
  const bool is_own = script.find(own_mark) != std::string::npos;
  SieveImporter(is_own ? SieveStrings::raw : SieveStrings::decoded, rules).read(*commands);
  return {};
}

}  // namespace Quarrow::Importing
