// From a rules document to its list of filters.
#include <cstdlib>

#include "message_filters/document_words.h"
#include "message_filters/filter_list_xml.h"

// Loading counts on the smart pointer's assertion to end the process.
#if defined(NDEBUG) || defined(BOOST_DISABLE_ASSERTS)
#error "Assertions are behaviour here: compile with -UNDEBUG and without BOOST_DISABLE_ASSERTS."
#endif

namespace Quarrow::MessageFilters {

namespace {

// The value of "true" or "false"; nothing for any other word, or for an attribute that is absent.
std::optional<bool> boolean_attribute(ezxml* element, const char* name) {
  const auto word = xml_attribute(element, name);
  if (word == DocumentWords::yes) return true;
  if (word == DocumentWords::no) return false;
  return std::nullopt;
}

// A number beyond 32 bits keeps its low 32 bits; a text that is no number counts as 0.
std::int32_t id_from_text(const std::string& text) {
  return static_cast<std::int32_t>(std::strtol(text.c_str(), nullptr, 10));
}

// Reads the attributes of a "filter" element. False when one of them is not acceptable.
bool read_attributes(ezxml* element, Filter__& filter) {
  filter.name = xml_attribute(element, DocumentWords::name).value_or("");
  if (filter.name.empty()) return false;
  if (xml_attribute(element, DocumentWords::enabled)) {
    const auto enabled = boolean_attribute(element, DocumentWords::enabled);
    if (!enabled) return false;
    filter.enabled = *enabled;
  }
  filter.id = id_from_text(xml_attribute(element, DocumentWords::id).value_or(""));
  return true;
}

// Reads the "tests" of a filter. False when they are missing or their relation is unknown.
bool read_tests(ezxml* tests, Filter__& filter) {
  if (!tests) return false;
  const std::string relation = xml_attribute(tests, DocumentWords::relation).value_or("");
  if (!relation.empty()) {
    if (!Filter__::is_valid_relation(relation)) return false;
    filter.relation = relation;
  }
  for (ezxml* element = xml_child(tests, DocumentWords::test); element;
       element = xml_next(element)) {
    const Test test = test_from_xml(element);
    if (test.is_valid() && filter.tests.size() < Filter__::max_tests())
      filter.tests.push_back(test);
  }
  return true;
}

// The action of an "action" element; it is invalid unless the method is a valid one.
Action action_from_xml(ezxml* element) {
  Action action;
  const std::string method = xml_text(xml_child(element, DocumentWords::method));
  if (!Action::is_valid_method(method)) return action;
  action.method = method;
  action.target = xml_text(xml_child(element, DocumentWords::target));
  action.value = xml_text(xml_child(element, DocumentWords::value));
  return action;
}

// Reads the "actions" of a filter. False when none of them is valid.
bool read_actions(ezxml* actions, Filter__& filter) {
  for (ezxml* element = xml_child(actions, DocumentWords::action); element;
       element = xml_next(element)) {
    const Action action = action_from_xml(element);
    if (action.is_valid()) filter.actions.push_back(action);
  }
  return !filter.actions.empty();
}

}  // namespace

Test test_from_xml(ezxml* element) {
  Test test;
  test.field.type = Field::STRING;
  test.field.customized = true;  // not stored

  ezxml* const field = xml_child(element, DocumentWords::field);
  const std::string type = xml_attribute(field, DocumentWords::type).value_or("");
  if (Field::is_valid_type(type)) test.field.type = type;
  test.field.name = xml_text(field);

  ezxml* const comparator = xml_child(element, DocumentWords::comparator);
  // Other than for a filter's "enabled", an unknown word is no reason to refuse.
  test.match_case = boolean_attribute(comparator, DocumentWords::match_case).value_or(false);
  test.negative = boolean_attribute(comparator, DocumentWords::negative).value_or(false);
  const std::string word = xml_text(comparator);
  if (Comparator::is_valid_op(word)) test.comparator = word;

  test.value = xml_text(xml_child(element, DocumentWords::value));
  return test;
}

boost::shared_ptr<Filter__> filter_from_xml(ezxml* element) {
  const auto filter = Filter__::Create();
  if (!read_attributes(element, *filter) ||
      !read_tests(xml_child(element, DocumentWords::tests), *filter) ||
      !read_actions(xml_child(element, DocumentWords::actions), *filter))
    return boost::shared_ptr<Filter__>();
  return filter;
}

boost::shared_ptr<FilterList__> filter_list_from_xml(ezxml* root) {
  const auto list = FilterList__::Create();
  for (ezxml* element = xml_child(root, DocumentWords::filter); element;
       element = xml_next(element)) {
    const auto filter = filter_from_xml(element);
    // Not looked at before: a rejected element ends the process with the assertion "px != 0".
    // SaveToXML writes none, and going on would lose a filter at the next save.
    if (filter->is_valid()) (void)list->append(filter);  // false only when no id is left
  }
  return list->filters.empty() ? boost::shared_ptr<FilterList__>() : list;
}

boost::shared_ptr<FilterList__> FilterList__::LoadFromXML(const std::string& path) {
  const XmlTree document = parse_xml_file(path);
  return document ? filter_list_from_xml(document.get()) : boost::shared_ptr<FilterList__>();
}

}  // namespace Quarrow::MessageFilters
