// The formats that rules come in.
#ifndef QUARROW_IMPORTING_RULES_FORMAT_H_
#define QUARROW_IMPORTING_RULES_FORMAT_H_

#include <optional>
#include <string>
#include <vector>

namespace Quarrow::Importing {

enum class RulesFormat { json, xml, sieve, webmail, procmail, maildrop };

// The words for the formats, in the order of the enumeration.
const std::vector<std::string>& format_words();

// The format that `word` names; nothing for another word.
std::optional<RulesFormat> format_of(const std::string& word);

// The format of a file's text where it is certain; nothing where it could be another one.
std::optional<RulesFormat> guess_format(const std::string& text);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_RULES_FORMAT_H_
