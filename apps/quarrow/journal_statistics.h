// What quarrow stats counts from a user's journal.
#ifndef QUARROW_APPS_QUARROW_JOURNAL_STATISTICS_H_
#define QUARROW_APPS_QUARROW_JOURNAL_STATISTICS_H_

#include <quarrow/filter_list.h>

#include <ostream>
#include <vector>

#include "apps/quarrow/listing.h"
#include "delivery/journal_record.h"

namespace Quarrow::Command {

// A row for each rule of `list`, for each other name in `records`, whose rule is gone or has
// another name now, and for the messages that no rule decided about. Messages that were left with
// the mail server are not counted: they came again. In a table for people, the rules that decided
// about nothing and the number of messages follow.
void print_journal_statistics(const MessageFilters::FilterList__& list,
                              const std::vector<Delivery::JournalRecord>& records, ListingForm form,
                              std::ostream& out);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_JOURNAL_STATISTICS_H_
