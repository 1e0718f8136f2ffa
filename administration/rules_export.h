// A user's filters as a file for another system, for a backup or for a person.
#ifndef QUARROW_ADMINISTRATION_RULES_EXPORT_H_
#define QUARROW_ADMINISTRATION_RULES_EXPORT_H_

#include <quarrow/filter_list.h>

#include <boost/shared_ptr.hpp>
#include <string>

#include "administration/refusal.h"

namespace Quarrow::Administration {

// JSON (see rules_json.h) and XML (the rules document) hold all that the filters do. Sieve is the
// script that delivery runs, without the disabled filters.
enum class ExportForm { json, xml, sieve };

// Puts the text of `filters` into `text`, with a line end behind it. Folders that stand encoded in
// the script are told readably in comments at its end. Refuses JSON of filters with a text that is
// not UTF-8, which it could not hold; `object` is the refusal's, and `text` is unchanged then.
Refusal export_rules(const boost::shared_ptr<MessageFilters::FilterList__>& filters,
                     ExportForm form, const std::string& object, std::string& text);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_EXPORT_H_
