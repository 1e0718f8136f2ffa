// A user's rules and a message: the interpreter, with either form of the script, decides as the RFC
// has it. The rules are filters as people write them, each from its name on; the message stands
// behind the first empty line.
#include <list>

#include "administration/filter_text.h"
#include "administration/rules_text.h"
#include "delivery/script_runner.h"
#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/rule_oracle.h"
#include "fuzz/rules.h"
#include "fuzz/target.h"
#include "host/zvellparser/address_header.h"
#include "message_filters/script_words.h"
#include "message_filters/sieve_test_text.h"
#include "system/memory_file.h"

namespace Quarrow::Fuzz {
namespace {

using MessageFilters::Field;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;

// The filters of `text` that a user could have made.
boost::shared_ptr<FilterList__> rules_in(const std::string& text) {
  std::list<std::string> filters;
  for (const std::string& line : lines_of(text)) {
    if (filters.empty() || line.compare(0, 5, "name:") == 0) filters.emplace_back();
    filters.back() += line + '\n';
  }
  const auto list = FilterList__::Create();
  for (const std::string& each : filters) {
    const auto filter = Filter__::Create();
    if (Administration::read_filter_text(each, Delivery::FolderDots::inbox, *filter)) continue;
    expect(list->append(filter), "a filter that is taken is valid");
  }
  return list;
}

// Whether each header that is tested for addresses is one that is repaired.
bool has_repaired_headers_only(const FilterList__& rules) {
  for (const auto& filter : rules.filters)
    for (const auto& test : filter->tests) {
      const std::string& name = test.field.name;
      if (test.field.type == Field::ADDRESS && name != "to_cc" && name != "from_to_cc" &&
          !zvellparser::is_address_header(name))
        return false;
    }
  return true;
}

void evaluate(const std::string& input) {
  const Parts parts = parts_of(input, "");
  const auto rules = rules_in(parts.first);
  const std::string& message = parts.second;
  const std::string script = Administration::script_text(rules, false);
  if (rules->filters.empty() || script.size() > script_limit) return;
  const auto matcher = matcher_of(script);
  expect(matcher != nullptr, "the script of valid rules compiles");
  const SieveMatchResult result = result_of(*matcher, message);
  if (has_repaired_headers_only(*rules))
    expect(result.error == SieveMatchResult::NONE, "no message keeps rules from being evaluated");

  const MemoryFile file;
  Delivery::ScriptRunner runner(file, 1);
  const auto evaluation = runner.run(script, message, message.size(), received_time);
  expect(evaluation.outcome == Delivery::Evaluation::Outcome::done, "it is evaluated in delivery");
  expect_equal(text_of(result), text_of(evaluation.result), "both forms decide the same");
  if (result.error != SieveMatchResult::NONE) return;
  if (const auto expected = decision(*rules, message))
    expect_equal(text_of(*expected), text_of(result), "the decision is the RFC's");
}

const Target target("rules_and_message", evaluate);

}  // namespace
}  // namespace Quarrow::Fuzz
