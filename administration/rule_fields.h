// The fields that people write tests about.
#ifndef QUARROW_ADMINISTRATION_RULE_FIELDS_H_
#define QUARROW_ADMINISTRATION_RULE_FIELDS_H_

#include <quarrow/rule_model.h>

#include <list>
#include <string>
#include <vector>

namespace Quarrow::Administration {

// The fields that every system offers, as custom fields for a catalogue. The names are those that
// scripts use: header names in lower case, and the names that stand for something else than one
// header.
const std::vector<MessageFilters::Field>& system_fields();

// Whether an address test can read the field of that name: a header that holds addresses, or a name
// that stands for several of them.
bool holds_addresses(const std::string& field);

// The types that fields of that name have in `fields`, each once; ASCII case does not count.
std::vector<std::string> types_of_field(const std::string& name,
                                        const std::list<MessageFilters::Field>& fields);

// The field of that name as people write it, such as "to or cc" for "to_cc"; the name itself for a
// plain header.
std::string field_words(const std::string& field);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULE_FIELDS_H_
