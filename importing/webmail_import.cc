// Each property of an entry by its name.
#include "importing/webmail_import.h"

#include <algorithm>
#include <set>
#include <sstream>

#include "importing/condition.h"
#include "message_filters/field_names.h"
#include "message_filters/xml_document.h"
#include "system/printable.h"

namespace Quarrow::Importing {
namespace {

using Administration::Refusal;
using MessageFilters::Action;
using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Test;

// An element's name without the prefix of its namespace.
std::string local_name(const ezxml* element) {
  const std::string name = MessageFilters::xml_name(element);
  return name.substr(name.find(':') + 1);
}

// The lines on which the entries begin.
std::vector<std::size_t> lines_of_entries(const std::string& text) {
  std::vector<std::size_t> lines;
  std::size_t line = 1;
  std::size_t from = 0;
  for (std::size_t at = text.find("<entry"); at != std::string::npos;
       at = text.find("<entry", at + 1)) {
    const auto begin = text.begin() + static_cast<std::ptrdiff_t>(from);
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(at);
    line += static_cast<std::size_t>(std::count(begin, end, '\n'));
    from = at;
    lines.push_back(line);
  }
  return lines;
}

std::vector<std::string> words_of(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

// Whether a text of words has no operator of the provider's search.
bool is_plain(const std::vector<std::string>& words) {
  return !words.empty() && std::all_of(
                               words.begin(), words.end(),
                               [](const std::string& word) {
                                 return word != "OR" && word != "AND" && word.front() != '-' &&
                                        word.front() != '+' &&
                                        word.find_first_of("(){}|*\":~\\") == std::string::npos;
                               });
}

Test test_of(const std::string& type, const std::string& field, const std::string& comparator,
             const std::string& value) {
  Test test;
  test.field = {type, field, true};
  test.comparator = comparator;
  test.value = value;
  return test;
}

// The properties that mean nothing here: mail is no chat, and a unit without a size no size.
bool is_needless(const std::string& name) {
  static const std::set<std::string> names = {"excludeChats", "sizeOperator", "sizeUnit"};
  return names.count(name) != 0;
}

// The properties that are actions, and have no equal.
bool is_lost_action(const std::string& name) {
  static const std::set<std::string> names = {"shouldMarkAsRead",
                                              "shouldStar",
                                              "shouldNeverSpam",
                                              "shouldSpam",
                                              "forwardTo",
                                              "shouldAlwaysMarkAsImportant",
                                              "shouldNeverMarkAsImportant",
                                              "smartLabelToApply",
                                              "cannedResponse"};
  return names.count(name) != 0;
}

class Entry {
 public:
  Entry(std::size_t line, const std::string& name, ImportedRules& rules) : rules_(rules) {
    draft_.line = line;
    draft_.name = name;
  }

  void read(ezxml* entry) {
    for (ezxml* each = MessageFilters::xml_first_child(entry); each;
         each = MessageFilters::xml_following(each))
      if (local_name(each) == "property")
        read_property(MessageFilters::xml_attribute(each, "name").value_or(""),
                      MessageFilters::xml_attribute(each, "value").value_or(""));
    if (conditions_.empty() && !is_left_out_) leave_out("an entry without a test");
    if (is_left_out_) return;
    draft_.condition = all_of(conditions_);
    draft_.actions = actions();
    add_rule(draft_, rules_);
  }

 private:
  void lose(const std::string& reason) {
    rules_.losses.push_back({draft_.line, draft_.name, reason});
  }

  void leave_out(const std::string& reason) {
    is_left_out_ = true;
    lose(reason + "; the rule is left out");
  }

  void read_property(const std::string& name, const std::string& value) {
    if (name == "from") return read_addresses(name, value, "from");
    if (name == "to") return read_addresses(name, value, FieldNames::to_cc);
    if (name == "subject") return read_subject(value);
    if (name == "label") {
      label_ = value;
    } else if (name == "shouldArchive") {
      is_archived_ = value == "true";
    } else if (name == "shouldTrash") {
      is_deleted_ = value == "true";
    } else if (is_lost_action(name)) {
      if (value != "false") lose('"' + name + "\" has no equal; it is left out");
    } else if (!is_needless(name)) {
      leave_out('"' + shortened(name) + "\" of \"" + shortened(value) + "\" has no equal");
    }
  }

  // One address, or several with OR between them.
  void read_addresses(const std::string& name, const std::string& value, const std::string& field) {
    std::vector<Condition> any;
    const auto words = words_of(value);
    bool is_good = words.size() % 2 == 1;
    for (std::size_t i = 0; i < words.size() && is_good; ++i) {
      if (i % 2 == 1) {
        is_good = words[i] == "OR";
      } else {
        is_good = is_plain({words[i]}) && words[i].find('@', 1) != std::string::npos;
        any.push_back(single(test_of(Field::ADDRESS, field, Comparator::IS, words[i])));
      }
    }
    if (!is_good)
      return leave_out('"' + name + "\" of \"" + shortened(value) +
                       "\" has no equal: it is no whole address");
    conditions_.push_back(any_of(any));
  }

  void read_subject(const std::string& value) {
    const auto words = words_of(value);
    if (!is_plain(words))
      return leave_out("\"subject\" of \"" + shortened(value) + "\" has no equal");
    lose("\"subject\" is looked for in whole words there, and in parts of words here");
    for (const auto& word : words)
      conditions_.push_back(single(test_of(Field::STRING, "subject", Comparator::CONTAINS, word)));
  }

  // An archived message without a label lies nowhere but among all messages, for which there is no
  // folder here.
  std::list<Action> actions() {
    if (is_deleted_) return {{Action::DELETE, "", ""}};
    if (!label_.empty()) return {{is_archived_ ? Action::MOVE : Action::COPY, label_, ""}};
    if (is_archived_) lose("\"shouldArchive\" has no equal without a label; it is left out");
    return {{Action::MOVE, "INBOX", ""}};
  }

  ImportedRules& rules_;
  RuleDraft draft_;
  std::vector<Condition> conditions_;
  std::string label_;
  bool is_archived_ = false;
  bool is_deleted_ = false;
  bool is_left_out_ = false;
};

}  // namespace

Refusal read_webmail(const std::string& text, ImportedRules& rules) {
  const auto tree = MessageFilters::parse_xml(text);
  if (!tree || local_name(tree.get()) != "feed")
    return {Refusal::Kind::wrong_rule, "feed",
            "no Atom feed, or one with XML that is not read here"};
  const auto lines = lines_of_entries(text);
  std::size_t count = 0;
  for (ezxml* each = MessageFilters::xml_first_child(tree.get()); each;
       each = MessageFilters::xml_following(each)) {
    if (local_name(each) != "entry") continue;
    const std::size_t line = count < lines.size() ? lines[count] : 0;
    Entry(line, "Rule " + std::to_string(++count), rules).read(each);
  }
  if (count > 1)
    rules.losses.push_back(
        {0, "", "all filters that match are applied there; here the first that matches decides"});
  return {};
}

}  // namespace Quarrow::Importing
