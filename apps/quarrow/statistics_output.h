// What quarrow stats shows.
#ifndef QUARROW_APPS_QUARROW_STATISTICS_OUTPUT_H_
#define QUARROW_APPS_QUARROW_STATISTICS_OUTPUT_H_

#include <ostream>
#include <string>

#include "apps/quarrow/listing.h"
#include "trial/statistics.h"

namespace Quarrow::Command {

// A row for each rule, and in a table for people a bar for each of them, and the messages that no
// rule decided about.
void print_statistics(const Trial::Statistics& statistics, ListingForm form, std::ostream& out);

// The same as a page in HTML that needs nothing else: a picture of the mail flowing through the
// rules into the folders, and a table. `user` is the title.
std::string statistics_page(const Trial::Statistics& statistics, const std::string& user);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_STATISTICS_OUTPUT_H_
