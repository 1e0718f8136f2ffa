// From a list of filters to its rules document.
#include <fstream>

#include "message_filters/document_words.h"
#include "message_filters/filter_list_xml.h"
#include "message_filters/xml_text.h"

namespace Quarrow::MessageFilters {

namespace {

const char* boolean_word(bool value) { return value ? DocumentWords::yes : DocumentWords::no; }

bool add_test(ezxml* tests, const Test& test) {
  if (!test.is_valid()) return false;
  ezxml* const element = add_xml_child(tests, DocumentWords::test);
  ezxml* const field = add_xml_child(element, DocumentWords::field, test.field.name);
  if (!set_xml_attribute(field, DocumentWords::type, test.field.type)) return false;
  ezxml* const comparator = add_xml_child(element, DocumentWords::comparator, test.comparator);
  return set_xml_attribute(comparator, DocumentWords::match_case, boolean_word(test.match_case)) &&
         set_xml_attribute(comparator, DocumentWords::negative, boolean_word(test.negative)) &&
         add_xml_child(element, DocumentWords::value, test.value);
}

bool add_unless_empty(ezxml* element, const char* name, const std::string& text) {
  return text.empty() || add_xml_child(element, name, text);
}

bool add_action(ezxml* actions, const Action& action) {
  if (!action.is_valid()) return false;
  ezxml* const element = add_xml_child(actions, DocumentWords::action);
  return add_xml_child(element, DocumentWords::method, action.method) &&
         add_unless_empty(element, DocumentWords::target, action.target) &&
         add_unless_empty(element, DocumentWords::value, action.value);
}

// A row that is too long to be read again is refused before ezXML walks it for every new child.
template <typename Item>
bool add_all(ezxml* row, const std::list<Item>& items, bool (*add)(ezxml*, const Item&)) {
  if (items.size() > most_xml_children) return false;
  for (const Item& item : items)
    if (!add(row, item)) return false;
  return true;
}

bool add_filter(ezxml* filters, const boost::shared_ptr<Filter__>& filter) {
  if (!filter || !filter->is_valid()) return false;
  ezxml* const element = add_xml_child(filters, DocumentWords::filter);
  if (!set_xml_attribute(element, DocumentWords::name, filter->name) ||
      !set_xml_attribute(element, DocumentWords::enabled, boolean_word(filter->enabled)) ||
      !set_xml_attribute(element, DocumentWords::id, std::to_string(filter->id)))
    return false;
  ezxml* const tests = set_xml_attribute(add_xml_child(element, DocumentWords::tests),
                                         DocumentWords::relation, filter->relation);
  return tests && add_all(tests, filter->tests, add_test) &&
         add_all(add_xml_child(element, DocumentWords::actions), filter->actions, add_action);
}

}  // namespace

XmlTree filter_list_to_xml(const boost::shared_ptr<FilterList__>& list) {
  if (!list) return nullptr;
  XmlTree document = new_xml_document(DocumentWords::filters);
  if (!add_all(document.get(), list->filters, add_filter)) return nullptr;
  return document;
}

// The file is opened, and emptied, before anything is built: the caller writes aside, and puts the
// file in place only when all went well.
bool FilterList__::SaveToXML(const std::string& path) {
  std::ofstream file(path, std::ios::out | std::ios::trunc);
  if (!file) return false;
  XmlTree document = filter_list_to_xml(shared_from_this());
  return document && write_xml(std::move(document), file);
}

}  // namespace Quarrow::MessageFilters
