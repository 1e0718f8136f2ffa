// Patterns of other systems that mean no more than one of our comparators.
#ifndef QUARROW_IMPORTING_PLAIN_PATTERN_H_
#define QUARROW_IMPORTING_PLAIN_PATTERN_H_

#include <optional>
#include <string>

namespace Quarrow::Importing {

// A comparator's word, and the text that it compares with.
struct PlainPattern {
  std::string comparator;
  std::string value;
};

// What a wildcard pattern means that is matched with all of a value: "*" stands for any text, "?"
// for any character, and a backslash takes the meaning of the next one (RFC 5228, section 2.7.1).
// Nothing where no comparator means the same.
std::optional<PlainPattern> wildcard_pattern(const std::string& pattern);

// The same for an extended regular expression that is looked for in a value.
std::optional<PlainPattern> regex_pattern(const std::string& pattern);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_PLAIN_PATTERN_H_
