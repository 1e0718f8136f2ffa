// The two texts that a list of filters becomes.
#ifndef QUARROW_ADMINISTRATION_RULES_TEXT_H_
#define QUARROW_ADMINISTRATION_RULES_TEXT_H_

#include <quarrow/filter_list.h>

#include <boost/shared_ptr.hpp>
#include <string>

#include "administration/refusal.h"

namespace Quarrow::Administration {

// The rules document of a list. Empty when a filter, a test or an action is not valid, or could not
// be read again.
std::string document_text(const boost::shared_ptr<MessageFilters::FilterList__>& list);

// The script of the enabled filters of a list, or of all. Empty when a filter that is in it is not
// valid. Throws std::bad_alloc where memory is short for the name of a folder.
std::string script_text(const boost::shared_ptr<MessageFilters::FilterList__>& list,
                        bool include_disabled);

// The list of a document's text, which is empty for a document without filters; null when the text
// is no document. Ends the process as FilterList__::LoadFromXML does.
boost::shared_ptr<MessageFilters::FilterList__> list_of(const std::string& document);

// The same, and nothing is written to standard error when the process ends.
boost::shared_ptr<MessageFilters::FilterList__> list_of_quietly(const std::string& document);

// Whether `script` is one that Quarrow made, of `list` or of other rules, be it cut off: nothing in
// it is lost when it is made anew.
bool is_made_script(const std::string& script,
                    const boost::shared_ptr<MessageFilters::FilterList__>& list);

// Refuses a script that the Sieve compiler does not take. `object` is the refusal's.
Refusal check_compiles(const std::string& script, const std::string& object);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_TEXT_H_
