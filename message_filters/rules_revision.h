// A name for one state of a user's rules.
#ifndef QUARROW_MESSAGE_FILTERS_RULES_REVISION_H_
#define QUARROW_MESSAGE_FILTERS_RULES_REVISION_H_

#include <string>

namespace Quarrow {

// The revision of the rules whose document has this text: 12 hexadecimal digits in small letters.
// The same text has the same revision everywhere, and another text another one. They are the first
// digits of the text's UUID of version 5 in the name space of zeros (RFC 4122, section 4.3).
std::string rules_revision(const std::string& document);

}  // namespace Quarrow

#endif  // QUARROW_MESSAGE_FILTERS_RULES_REVISION_H_
