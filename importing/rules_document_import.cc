// JSON and XML.
#include "importing/rules_document_import.h"

#include <quarrow/filter_list.h>

#include "administration/document_loss.h"
#include "administration/rules_json.h"
#include "message_filters/document_words.h"
#include "message_filters/filter_list_xml.h"

namespace Quarrow::Importing {
namespace {

using Administration::Refusal;
using MessageFilters::FilterList__;
using Kind = Refusal::Kind;

void take_over(const FilterList__& list, ImportedRules& rules) {
  rules.numbered = true;
  for (const auto& filter : list.filters) rules.rules.push_back({filter, 0});
}

Refusal damaged(const std::string& reason) { return {Kind::wrong_rule, "rules document", reason}; }

// Element by element: FilterList__::LoadFromXML would end the process at one that is damaged.
Refusal read_filters(ezxml* root, FilterList__& list) {
  for (ezxml* element = MessageFilters::xml_child(root, DocumentWords::filter); element;
       element = MessageFilters::xml_next(element)) {
    const auto filter = MessageFilters::filter_from_xml(element);
    const std::string number = std::to_string(list.filters.size() + 1);
    if (!filter) return damaged("filter " + number + " of the file is damaged");
    if (filter->id != 0 && list.find_filter(filter->id))
      return damaged("filter " + number + " of the file has the number of another one");
    if (!list.append(filter)) return damaged("filter " + number + " of the file is not valid");
  }
  return {};
}

}  // namespace

Refusal read_json(const std::string& text, ImportedRules& rules) {
  boost::shared_ptr<FilterList__> list;
  if (const Refusal refusal = Administration::read_rules_json(text, list)) return refusal;
  take_over(*list, rules);
  return {};
}

Refusal read_rules_document(const std::string& text, ImportedRules& rules) {
  const auto tree = MessageFilters::parse_xml(text);
  if (!tree) return damaged("it is not well-formed, or uses XML that is not read here");
  if (MessageFilters::xml_name(tree.get()) != DocumentWords::filters)
    return damaged("the root element is not \"filters\"");
  const auto list = FilterList__::Create();
  if (const Refusal refusal = read_filters(tree.get(), *list)) return refusal;
  const std::string loss = list->filters.empty() && !MessageFilters::xml_first_child(tree.get())
                               ? ""
                               : Administration::document_loss(text, list);
  if (!loss.empty()) return damaged("not all of it can be read: " + loss);
  take_over(*list, rules);
  return {};
}

}  // namespace Quarrow::Importing
