// Words that the rules of delivery programs share: headers, expressions and paths.
#ifndef QUARROW_IMPORTING_MAIL_PROGRAM_H_
#define QUARROW_IMPORTING_MAIL_PROGRAM_H_

#include <optional>
#include <string>
#include <vector>

#include "importing/condition.h"

namespace Quarrow::Importing {

// The fields that stand for these headers, of which one must match.
std::vector<std::string> fields_of(const std::vector<std::string>& headers);

// The condition that means the same as a regular expression that is looked for in the lines of a
// header, such as "^Subject:.*report" or "^(To|Cc): *a@b". A blank behind the colon counts for
// nothing. Nothing where there is no such condition.
std::optional<Condition> header_line_condition(const std::string& regex, bool match_case);

// The folder that a path of a delivery program stands for: "Maildir/.a.b/", "$HOME/Maildir/.a.b/"
// and "a/b/" are all "a/b", and "$DEFAULT" is the inbox. Nothing for another place on the disk.
std::optional<std::string> folder_at(std::string path);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_MAIL_PROGRAM_H_
