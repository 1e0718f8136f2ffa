// Rules of other systems, read and checked.
#include "fuzz/imports.h"

#include <quarrow/filter_list.h>

#include "fuzz/expectation.h"
#include "fuzz/rules.h"
#include "importing/rules_reader.h"

namespace Quarrow::Fuzz {

using MessageFilters::Filter__;
using MessageFilters::FilterList__;

Import import_rules(Importing::RulesFormat format, const std::string& text) {
  Import made;
  if (read_rules(format, text, Delivery::FolderDots::inbox, made.rules)) return {};
  made.list = FilterList__::Create();
  for (const auto& rule : made.rules.rules) {
    expect(rule.filter->tests.size() <= Filter__::max_tests(), "a filter has no more tests");
    if (!made.rules.numbered) rule.filter->id = 0;
    expect(made.list->append(rule.filter), "a filter that is imported is valid");
  }
  for (const auto& loss : made.rules.losses) expect(!loss.reason.empty(), "a loss has a reason");
  expect_sound(made.list);
  return made;
}

}  // namespace Quarrow::Fuzz
