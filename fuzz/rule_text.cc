// Tests, actions and filters as people write them: each line as a test and as an action, and all of
// the lines as a filter.
#include "administration/rule_text.h"

#include "administration/filter_text.h"
#include "administration/rule_check.h"
#include "administration/rule_sentence.h"
#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/rules.h"
#include "fuzz/target.h"

namespace Quarrow::Fuzz {
namespace {

using namespace Administration;
using MessageFilters::Action;
using MessageFilters::Field;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::Test;

constexpr auto dots = Delivery::FolderDots::inbox;

const std::list<Field> catalogue = {{Field::STRING, "x-project", true},
                                    {Field::ADDRESS, "x-owner", true},
                                    {Field::DATE, "x-due", true}};

void try_test(const std::string& line) {
  Test test;
  if (read_test(line, test, catalogue)) return;
  (void)test_sentence(test);
  if (check_sense(test)) return;
  expect(test.is_valid(), "a test that is taken is valid");
  Test again;
  expect_equal("", read_test(test_text(test), again, catalogue).reason, "its text can be read");
  expect_equal(bytes_of(test), bytes_of(again), "its text gives the same test");
}

void try_action(const std::string& line) {
  Action action;
  if (read_action(line, action)) return;
  (void)action_sentence(action);
  if (check_action(action, dots)) return;
  expect(action.is_valid(), "an action that is taken is valid");
  Action again;
  expect_equal("", read_action(action_text(action), again).reason, "its text can be read");
  expect_equal(bytes_of(action), bytes_of(again), "its text gives the same action");
}

void try_filter(const std::string& text) {
  const auto filter = Filter__::Create();
  filter->id = 7;
  if (read_filter_text(text, dots, *filter, catalogue)) return;
  (void)rule_sentence(*filter);
  Filter__ again = *Filter__::Create();
  again.id = filter->id;
  expect_equal("", read_filter_text(filter_text(*filter), dots, again, catalogue).reason,
               "the text of a filter that is taken can be read");
  expect_equal(bytes_of(*filter), bytes_of(again), "it gives the same filter");
  const auto list = FilterList__::Create();
  expect(list->append(filter), "a filter that is taken is valid");
  expect_sound(list);
}

void try_text(const std::string& text) {
  for (const std::string& line : lines_of(text)) {
    try_test(line);
    try_action(line);
  }
  try_filter(text);
}

const Target target("rule_text", try_text);

}  // namespace
}  // namespace Quarrow::Fuzz
