// The catalogue of fields, and the document that it is kept in.
#include <algorithm>
#include <boost/make_shared.hpp>
#include <fstream>
#include <locale>

#include "message_filters/document_words.h"
#include "message_filters/user_filter_path.h"
#include "message_filters/xml_document.h"
#include "message_filters/xml_text.h"
#include "quarrow/user_stores.h"

namespace Quarrow::MessageFilters {

namespace {

bool is_valid(const Field& field) {
  return Field::is_valid_type(field.type) && !field.name.empty();
}

bool equal_without_case(const std::string& a, const std::string& b) {
  const std::locale locale;
  const auto& letters = std::use_facet<std::ctype<char>>(locale);
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&letters](char x, char y) {
    return letters.toupper(x) == letters.toupper(y);
  });
}

Field field_from_xml(ezxml* element, bool customized) {
  Field field;
  const std::string type = xml_attribute(element, DocumentWords::type).value_or("");
  field.type = Field::is_valid_type(type) ? type : Field::STRING;
  field.name = xml_text(element);
  field.customized = customized;
  return field;
}

// The catalogue of the customized fields. Empty when one of them is invalid, or when there are more
// than could be read again.
XmlTree catalogue_to_xml(const std::list<Field>& fields) {
  const auto count = std::count_if(fields.begin(), fields.end(),
                                   [](const Field& field) { return field.customized; });
  if (static_cast<std::size_t>(count) > most_xml_children) return nullptr;
  XmlTree document = new_xml_document(DocumentWords::fields);
  for (const Field& field : fields) {
    if (!field.customized) continue;
    if (!is_valid(field)) return nullptr;
    ezxml* const element = add_xml_child(document.get(), DocumentWords::field, field.name);
    if (!set_xml_attribute(element, DocumentWords::type, field.type)) return nullptr;
  }
  return document;
}

}  // namespace

boost::shared_ptr<UserFields__> UserFields__::Create(const EmailAddress& address) {
  if (address.isNull()) return boost::shared_ptr<UserFields__>();
  return boost::make_shared<UserFields__>(address);
}

// Without the system's fields, the user's own are not loaded either.
UserFields__::UserFields__(const EmailAddress& address) : owner(address) {
  if (!load(system_catalogue, false)) return;
  (void)load(user_filter_path(owner, CUSTOM_FIELDS_XML), true);  // they may have none
}

bool UserFields__::load(const std::string& path, bool customized) {
  const XmlTree document = parse_xml_file(path);
  if (!document) return false;
  for (ezxml* element = xml_child(document.get(), DocumentWords::field); element;
       element = xml_next(element)) {
    const Field field = field_from_xml(element, customized);
    if (!field.name.empty()) fields.push_back(field);
  }
  return true;
}

bool UserFields__::add_field(const Field& field) {
  if (!is_valid(field)) return false;
  for (const Field& other : fields)
    if (equal_without_case(field.name, other.name)) return false;
  fields.push_back(field);
  return true;
}

// With case, other than add_field: it takes away what was named, and nothing that looks like it.
bool UserFields__::remove_field(const std::string& name) {
  const auto found = std::find_if(fields.begin(), fields.end(), [&name](const Field& field) {
    return field.customized && field.name == name;
  });
  if (found == fields.end()) return false;
  fields.erase(found);
  return true;
}

void UserFields__::clear_customized_fields() {
  fields.remove_if([](const Field& field) { return field.customized; });
}

bool UserFields__::persist(const std::string& path) {
  XmlTree document = catalogue_to_xml(fields);  // first: a refused field leaves the file alone
  if (!document) return false;
  std::ofstream file(path, std::ios::out | std::ios::trunc);
  return file && write_xml(std::move(document), file);
}

bool UserFields__::persist() {
  const std::string final = user_filter_path(owner, CUSTOM_FIELDS_XML);
  if (!persist(temporary_path(final))) return false;
  put_in_place(final);
  return true;
}

}  // namespace Quarrow::MessageFilters
