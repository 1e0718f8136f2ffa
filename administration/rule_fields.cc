// What is known of fields.
#include "administration/rule_fields.h"

#include <algorithm>

#include "host/zvellparser/address_header.h"
#include "host/zvellparser/ascii_case.h"
#include "message_filters/field_names.h"

namespace Quarrow::Administration {

using MessageFilters::Field;

const std::vector<Field>& system_fields() {
  static const std::vector<Field> fields = {{Field::STRING, "subject", true},
                                            {Field::ADDRESS, "from", true},
                                            {Field::ADDRESS, "to", true},
                                            {Field::ADDRESS, "cc", true},
                                            {Field::ADDRESS, "sender", true},
                                            {Field::ADDRESS, "reply-to", true},
                                            {Field::ADDRESS, FieldNames::to_cc, true},
                                            {Field::ADDRESS, FieldNames::from_to_cc, true},
                                            {Field::STRING, "list-id", true},
                                            {Field::SIZE, Field::SIZE, true},
                                            {Field::DATE, FieldNames::received_date, true}};
  return fields;
}

bool holds_addresses(const std::string& field) {
  return field == FieldNames::to_cc || field == FieldNames::from_to_cc ||
         zvellparser::is_address_header(field);
}

std::vector<std::string> types_of_field(const std::string& name, const std::list<Field>& fields) {
  std::vector<std::string> types;
  for (const Field& field : fields) {
    const bool is_new = std::find(types.begin(), types.end(), field.type) == types.end();
    if (is_new && zvellparser::equal_ignoring_case(field.name, name)) types.push_back(field.type);
  }
  return types;
}

std::string field_words(const std::string& field) {
  if (field == FieldNames::to_cc) return "to or cc";
  if (field == FieldNames::from_to_cc) return "from, to or cc";
  if (field == FieldNames::received_date) return "received";
  if (field == Field::SIZE) return "message";
  return field;
}

}  // namespace Quarrow::Administration
