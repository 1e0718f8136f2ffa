// The Sieve text (RFC 5228) of a test, and of the names and values in it.
#ifndef QUARROW_MESSAGE_FILTERS_SIEVE_TEST_TEXT_H_
#define QUARROW_MESSAGE_FILTERS_SIEVE_TEST_TEXT_H_

#include <ostream>
#include <string>

#include "quarrow/rule_model.h"

namespace Quarrow::MessageFilters {

// The headers that a test looks at: ["to", "cc"] for the field "to_cc", ["from", "to", "cc"] for
// "from_to_cc", and any other name in double quotes as it stands.
std::string sieve_header_list(const Test& test);

// `text` with one backslash before each character that means something in a regular expression.
// The interpreter takes backslashes in strings as they are, so that one is enough.
std::string regex_escape(const std::string& text);

// The digits 0 to 9 of `text`, in order: "20100501" for "2010-05-01".
std::string digits_only(const std::string& text);

// Writes `test` with a blank before and behind it. False, with nothing written, when the test is
// not valid.
bool write_test(const Test& test, std::ostream& out);

}  // namespace Quarrow::MessageFilters

#endif  // QUARROW_MESSAGE_FILTERS_SIEVE_TEST_TEXT_H_
