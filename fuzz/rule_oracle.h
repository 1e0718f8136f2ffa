// What rules decide about a message by RFC 5228, worked out without the interpreter.
#ifndef QUARROW_FUZZ_RULE_ORACLE_H_
#define QUARROW_FUZZ_RULE_ORACLE_H_

#include <quarrow/evaluation.h>
#include <quarrow/filter_list.h>

#include <optional>
#include <string>

namespace Quarrow::Fuzz {

// The actions of the first enabled filter that matches the message, as an evaluation gives them.
// Nothing where it depends on what is not worked out here: addresses with quotes, comments or
// groups, and dates of more digits than a date has. The values of headers are those that
// Delivery::header_value gives.
std::optional<SieveMatchResult> decision(const MessageFilters::FilterList__& rules,
                                         const std::string& message);

}  // namespace Quarrow::Fuzz

#endif  // QUARROW_FUZZ_RULE_ORACLE_H_
