// Reads a script as its writer writes it, word for word, and writes the other form on the way. Any
// difference from the expected words ends that.
#include "delivery/execution_form.h"

#include <quarrow/filter_list.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

#include "message_filters/script_words.h"
#include "system/memory_file.h"

namespace Quarrow::Delivery {
namespace {

// Begins the folder of the action that stands for a branch, whose index follows, or for the
// script's end, which counts as the branch behind the last. No folder's encoded name (RFC 3501,
// section 5.1.3) holds a control byte.
constexpr std::string_view branch_mark = "\x01";

// The characters that :matches takes for more than themselves. The interpreter has no way to write
// them for themselves: its backslash stands for a backslash and hides the next character.
constexpr const char* wildcards = "*?\\";

constexpr std::string_view closing = ScriptWords::end;

// The beginning of every script: the writer's words for an empty list. Empty on failure, and then
// no script has the shape.
const std::string& opening() {
  static const std::string text = [] {
    const MemoryFile file;
    if (!MessageFilters::FilterList__::Create()->SaveToSieve(file.path(), true))
      return std::string();
    std::string written = file.read();
    if (written.size() <= closing.size()) return std::string();
    return written.erase(written.size() - closing.size());
  }();
  return text;
}

// `text` without comments, blank lines and indentation; none of its strings holds a line feed.
std::string compact(std::string_view text) {
  std::string kept;
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find('\n') + 1);
    text.remove_prefix(line.size());
    line.remove_prefix(line.find_first_not_of(' '));  // the line feed at least
    if (line.front() != '#' && line.front() != '\n') kept += line;
  }
  return kept;
}

bool is_one_of(char c, std::string_view characters) {
  return characters.find(c) != std::string_view::npos;
}

// The text that `expression` stands for; nothing when it has a meaning beyond that, or is empty.
std::optional<std::string> literal_of(std::string_view expression) {
  std::string literal;
  for (std::size_t i = 0; i < expression.size(); ++i) {
    const bool escaped = expression[i] == '\\';
    if (escaped && ++i == expression.size()) return std::nullopt;
    if (is_one_of(expression[i], ScriptWords::regex_operators) != escaped) return std::nullopt;
    literal += expression[i];
  }
  if (literal.empty()) return std::nullopt;
  return literal;
}

// The pattern for :matches that means the same as `expression`; the expression itself when there is
// no such pattern, and nothing when it does not stand for a text at the value's start or end.
std::optional<std::string> pattern_for(std::string_view expression) {
  if (expression.empty()) return std::nullopt;
  const bool at_start = expression.front() == '^';
  if (!at_start && expression.back() != '$') return std::nullopt;
  const std::optional<std::string> literal =
      literal_of(expression.substr(at_start ? 1 : 0, expression.size() - 1));
  if (!literal) return std::nullopt;
  if (literal->find_first_of(wildcards) != std::string::npos) return std::string(expression);
  return at_start ? *literal + '*' : '*' + *literal;
}

class Deriver {
 public:
  explicit Deriver(std::string_view script) : rest_(script) {}

  // False when the script has another shape.
  bool derive() {
    if (opening().empty() || !skip(opening())) return false;
    form_.script = compact(opening());
    while (rest_ != closing)
      if (!branch()) return false;
    if (!form_.branches.empty()) add_mark(form_.branches.size());
    return true;
  }

  ExecutionForm&& form() { return std::move(form_); }

 private:
  bool skip(std::string_view words) {
    if (rest_.substr(0, words.size()) != words) return false;
    rest_.remove_prefix(words.size());
    return true;
  }

  bool replace(std::string_view words, std::string_view by) {
    if (!skip(words)) return false;
    form_.script += by;
    return true;
  }

  bool take(std::string_view words) { return replace(words, words); }

  bool branch() {
    if (!skip(ScriptWords::rule)) return false;
    const std::size_t end = rest_.find('\n');
    if (end == std::string_view::npos) return false;
    form_.branches.push_back({std::string(rest_.substr(0, end)), {}});
    rest_.remove_prefix(end + 1);
    return take(ScriptWords::branch) && condition() && replace(ScriptWords::block, "{") &&
           actions() && replace(ScriptWords::block_end, "stop;}") && take("\n");
  }

  bool condition() {
    if (!take(MessageFilters::Filter__::ANYOF) && !take(MessageFilters::Filter__::ALLOF))
      return test();
    if (!take(ScriptWords::list_start)) return false;
    do {
      if (!test()) return false;
    } while (replace(ScriptWords::next_test, ","));
    return take(ScriptWords::list_end);
  }

  bool test() {
    if (!take(ScriptWords::test_start)) return false;
    take(ScriptWords::negation);
    if (take(ScriptWords::header)) return header_test();
    if (take(ScriptWords::address)) return comparison();
    return take(ScriptWords::size) && (take(ScriptWords::over) || take(ScriptWords::under)) &&
           digits() && take(ScriptWords::kibibytes);
  }

  bool header_test() {
    if (take(ScriptWords::value)) return date_comparison();
    return skip(ScriptWords::regex) ? anchored_comparison() : comparison();
  }

  bool date_comparison() {
    return (take(ScriptWords::equal) || take(ScriptWords::less) || take(ScriptWords::greater)) &&
           take(ScriptWords::numeric) && quoted() && take(" ") && quoted() && take(" ");
  }

  bool comparison() {
    if (!take(ScriptWords::is) && !take(ScriptWords::contains)) return false;
    take(ScriptWords::match_case);
    return header_list() && take(" ") && quoted() && take(" ");
  }

  bool header_list() {
    return take(ScriptWords::to_and_cc) || take(ScriptWords::from_to_and_cc) || quoted();
  }

  bool digits() {
    const std::size_t count = std::min(rest_.find_first_not_of("0123456789"), rest_.size());
    return count > 0 && take(rest_.substr(0, count));
  }

  // A string's content. For the interpreter a backslash before the closing quote keeps the string
  // open; no value holds either of them.
  bool read_string(std::string_view& content) {
    if (!skip("\"")) return false;
    const std::size_t end = rest_.find('"');
    if (end == std::string_view::npos) return false;
    content = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
    return content.empty() || content.back() != '\\';
  }

  bool quoted() {
    std::string_view content;
    if (!read_string(content)) return false;
    form_.script.append("\"").append(content).append("\"");
    return true;
  }

  bool anchored_comparison() {
    const std::size_t start = form_.script.size();
    std::string_view expression;
    if (!header_list() || !take(" ") || !read_string(expression)) return false;
    const std::optional<std::string> pattern = pattern_for(expression);
    if (!pattern) return false;
    form_.script.insert(start, *pattern == expression ? ScriptWords::regex : ":matches ");
    form_.script.append("\"").append(*pattern).append("\"");
    return take(" ");
  }

  // Writes the branch's mark for its actions, which are kept aside.
  bool actions() {
    while (skip(ScriptWords::file_into)) {
      std::string_view folder;
      if (!read_string(folder)) return false;
      add_action(SieveAction::FILEINTO, folder);
      if (skip(ScriptWords::and_keep)) add_action(SieveAction::KEEP, {});
      if (!skip(ScriptWords::action_end)) return false;
    }
    add_mark(form_.branches.size() - 1);
    return !form_.branches.back().actions.empty();
  }

  void add_mark(std::size_t index) {
    form_.script.append("fileinto \"").append(branch_mark);
    form_.script += std::to_string(index) + "\";";
  }

  void add_action(SieveAction::Type type, std::string_view folder) {
    SieveAction action;
    action.type = type;
    action.mailbox(std::string(folder));
    form_.branches.back().actions.push_back(action);
  }

  std::string_view rest_;  // of the script
  ExecutionForm form_;
};

// The index of the branch, or of the script's end, that an action stands for; nothing when the
// action stands for itself.
std::optional<std::size_t> index_of(const ExecutionForm& form, const SieveAction& action) {
  if (form.branches.empty() || action.type != SieveAction::FILEINTO) return std::nullopt;
  if (action.mailbox.compare(0, branch_mark.size(), branch_mark) != 0) return std::nullopt;
  const char* const end = action.mailbox.data() + action.mailbox.size();
  std::size_t index = form.branches.size() + 1;
  (void)std::from_chars(action.mailbox.data() + branch_mark.size(), end, index);
  if (index > form.branches.size()) return std::nullopt;
  return index;
}

}  // namespace

ExecutionForm execution_form(const std::string& script) {
  // Neither behind the limit nor behind a NUL does anything count.
  const bool counts = script.size() <= script_limit && script.find('\0') == std::string::npos;
  Deriver deriver(script);
  if (counts && deriver.derive()) return deriver.form();
  return {script, {}};
}

bool is_cut_short(const ExecutionForm& form, const SieveMatchResult& result) {
  const bool is_silent = result.error == SieveMatchResult::NONE && result.actions.empty();
  return is_silent && !form.branches.empty();
}

std::string complete(const ExecutionForm& form, SieveMatchResult& result) {
  // A run takes one branch of the chain at most, which stops the script, or else reaches the end.
  if (result.actions.size() != 1) return {};
  const std::optional<std::size_t> index = index_of(form, result.actions.front());
  if (!index) return {};
  result.actions.clear();
  if (*index == form.branches.size()) return {};
  const ExecutionForm::Branch& branch = form.branches[*index];
  for (const SieveAction& action : branch.actions) result.add_action(action);
  return branch.rule;
}

}  // namespace Quarrow::Delivery
