#include "bench/mixed_rules.h"

#include "tests/support/rules_test_support.h"

namespace {

using namespace Quarrow::MessageFilters;

Test mixed_test(int number) {
  const std::string word = "qx" + std::to_string(number);
  switch (number % 10) {
    case 4:
    case 9:
      return make_test(Field::ADDRESS, "from_to_cc", Comparator::CONTAINS, word + "@example.net");
    case 2:
    case 7:
      return make_test(Field::STRING, "subject", Comparator::BEGINWITH, "[" + word + "]");
    case 5:
      return make_test(Field::SIZE, "size", Comparator::GREATER, std::to_string(900000 + number));
    case 8:
      return make_test(Field::STRING, "list-id", Comparator::IS, "<" + word + ".example.net>");
    default:
      return make_test(Field::STRING, "subject", Comparator::CONTAINS, word + " offer");
  }
}

boost::shared_ptr<Filter__> filter(const std::string& name, const std::string& folder) {
  auto made = Filter__::Create();
  made->name = name;
  made->relation = Filter__::ANYOF;
  made->actions.push_back(make_action(Action::MOVE, folder));
  return made;
}

}  // namespace

boost::shared_ptr<FilterList__> mixed_rules(int count, int tests) {
  auto list = FilterList__::Create();
  for (int i = 0; i + 1 < count; ++i) {
    const std::string number = std::to_string(i);
    auto made = filter("Rule number " + number, "Folders/F" + number);
    for (int j = 0; j < tests; ++j) made->tests.push_back(mixed_test(i + j));
    list->append(made);
  }
  auto last = filter("The list", "Lists");
  last->tests.push_back(make_test(Field::ADDRESS, "to_cc", Comparator::CONTAINS, "list"));
  list->append(last);
  return list;
}
