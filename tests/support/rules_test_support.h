// Rules for tests and benchmarks, each made in one line.
#ifndef QUARROW_TESTS_SUPPORT_RULES_TEST_SUPPORT_H_
#define QUARROW_TESTS_SUPPORT_RULES_TEST_SUPPORT_H_

#include <boost/shared_ptr.hpp>
#include <string>

#include "quarrow/rule_model.h"

namespace Quarrow::MessageFilters {

// Test has another meaning in a unit test: it is the base class.
using Condition = Test;

inline Test make_test(const std::string& type, const std::string& name,
                      const std::string& comparator, const std::string& value) {
  Test test;
  test.field.type = type;
  test.field.name = name;
  test.comparator = comparator;
  test.value = value;
  return test;
}

inline Test subject_test(const std::string& value = "word") {
  return make_test("string", "subject", "contains", value);
}

inline Action make_action(const std::string& method, const std::string& target = "",
                          const std::string& value = "") {
  Action action;
  action.method = method;
  action.target = target;
  action.value = value;
  return action;
}

// A valid filter without tests that deletes.
inline boost::shared_ptr<Filter__> make_filter(const std::string& name, std::int32_t id = 0) {
  const auto filter = Filter__::Create();
  filter->name = name;
  filter->id = id;
  filter->actions.push_back(make_action("delete"));
  return filter;
}

// The same with a test.
inline boost::shared_ptr<Filter__> make_rule(const std::string& name, const Test& test,
                                             bool enabled = true) {
  const auto filter = make_filter(name);
  filter->enabled = enabled;
  filter->tests.push_back(test);
  return filter;
}

}  // namespace Quarrow::MessageFilters

#endif  // QUARROW_TESTS_SUPPORT_RULES_TEST_SUPPORT_H_
