// A filter as lines of text, which a person can read and edit.
//
//   # filter 3
//   name: Reports
//   enabled: yes
//   match: all
//   if: string subject contains quarterly
//   if: not address from is boss@example.org
//   then: move Reports
//
// What stands behind the colon and one blank is the value, with all blanks in it. Tests and actions
// are written as in rule_text.h, one a line, in their order. Lines that begin with "#" and lines
// without a text say nothing.
#ifndef QUARROW_ADMINISTRATION_FILTER_TEXT_H_
#define QUARROW_ADMINISTRATION_FILTER_TEXT_H_

#include <quarrow/rule_model.h>

#include <list>
#include <string>

#include "administration/refusal.h"
#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Administration {

// The text of a filter, with its id in a comment. Control characters, which a filter from elsewhere
// may hold, are written as \n, \xHH and so on: such a text is for reading alone.
std::string filter_text(const MessageFilters::Filter__& filter);

// Reads such a text, and puts its parts in place of those of `filter`, which keeps its id.
// "enabled" and "match" may be missing, and are "yes" and "all" then. Refuses a line that is no
// such part, a part that can't be taken, and one that comes twice: the refusal's object is the
// line, such as "line 3"; and a filter without a name, tests or actions. `filter` is unchanged
// then. `dots` is what delivery does with folders with a dot in the name, and `catalogue` holds the
// fields whose types need not be written: see rule_text.h.
Refusal read_filter_text(const std::string& text, Delivery::FolderDots dots,
                         MessageFilters::Filter__& filter,
                         const std::list<MessageFilters::Field>& catalogue = {});

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_FILTER_TEXT_H_
