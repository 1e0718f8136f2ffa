// From a list of filters to a script: one chain of "elsif" branches, the first of which that
// matches decides.
#include "message_filters/sieve_script.h"

#include <fstream>
#include <sstream>

#include "message_filters/mailbox_name.h"
#include "message_filters/script_words.h"
#include "message_filters/sieve_test_text.h"

namespace Quarrow::MessageFilters {

namespace {

const char trash_folder[] = "Trash";

// Every script requires all of them, whatever its filters use.
const char* const sieve_extensions[] = {"fileinto", "regex", "relational",
                                        "comparator-i;ascii-numeric"};

void write_require(std::ostream& out) {
  const char* separator = "";
  out << "require [";
  for (const char* extension : sieve_extensions) {
    out << separator << '"' << extension << '"';
    separator = ", ";
  }
  out << "];\n";
}

// The branch that is never taken lets every filter be an "elsif".
void write_opening(std::ostream& out) {
  write_require(out);
  out << "\n"
         "# auto generated sieve script\n"
         "# do not modify\n"
         "\n"
         "if false {\n"
         "    keep;\n"
         "}\n";
}

bool write_tests(const std::list<Test>& tests, std::ostream& out) {
  const char* separator = "";
  for (const Test& test : tests) {
    out << separator;
    if (!write_test(test, out)) return false;
    separator = ScriptWords::next_test;
  }
  return true;
}

bool write_condition(const Filter__& filter, std::ostream& out) {
  if (filter.tests.size() < 2) return write_tests(filter.tests, out);
  out << filter.relation << ScriptWords::list_start;
  if (!write_tests(filter.tests, out)) return false;
  out << ScriptWords::list_end;
  return true;
}

std::string fileinto(const std::string& folder) {
  return ScriptWords::file_into + ('"' + imap_mailbox_name(folder) + '"');
}

// A deleted message goes into the folder Trash, whatever the action's target: nothing is lost.
bool write_action(const Action& action, std::ostream& out) {
  if (!action.is_valid()) return false;
  out << fileinto(action.method == Action::DELETE ? trash_folder : action.target)
      << (action.method == Action::COPY ? ScriptWords::and_keep : "") << ScriptWords::action_end;
  return true;
}

}  // namespace

bool write_script(const boost::shared_ptr<FilterList__>& list, bool include_disabled,
                  std::ostream& out) {
  write_opening(out);
  for (const auto& filter : list->filters) {
    if (!include_disabled && !filter->enabled) continue;
    if (filter->tests.empty()) continue;
    out << ScriptWords::rule << filter->name << '\n' << ScriptWords::branch;
    if (!write_filter(filter, out)) return false;
    out << '\n';
  }
  return static_cast<bool>(out << ScriptWords::end);  // a stream drops what memory is short for
}

boost::shared_ptr<FilterList__> list_to_try(const Test& test) {
  Action action;
  action.method = Action::DELETE;
  const auto filter = Filter__::Create();
  filter->name = "validation";
  filter->tests.push_back(test);
  filter->actions.push_back(action);
  const auto list = FilterList__::Create();
  (void)list->append(filter);  // it is valid, and the list is new
  return list;
}

bool write_filter(const boost::shared_ptr<Filter__>& filter, std::ostream& out) {
  if (!filter || !filter->is_valid()) return false;
  if (!write_condition(*filter, out)) return false;
  out << ScriptWords::block;
  for (const Action& action : filter->actions)
    if (!write_action(action, out)) return false;
  out << ScriptWords::block_end;
  return true;
}

bool FilterList__::SaveToSieve(const std::string& path, bool include_disabled) {
  std::ostringstream script;  // whole in memory first: a refused rule leaves the old file alone
  if (!write_script(shared_from_this(), include_disabled, script)) return false;
  std::ofstream file(path, std::ios::out | std::ios::trunc);
  if (!file) return false;
  file << script.str();
  return true;
}

}  // namespace Quarrow::MessageFilters
