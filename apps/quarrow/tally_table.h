// Counts of messages as a table.
#ifndef QUARROW_APPS_QUARROW_TALLY_TABLE_H_
#define QUARROW_APPS_QUARROW_TALLY_TABLE_H_

#include <ostream>

#include "trial/tally.h"

namespace Quarrow::Command {

// Writes a line for each folder in byte order, in UTF-8, control characters escaped, then one each
// for the messages that are kept, rejected, discarded, an error or not evaluated, as far as there
// are any, and at last the number of messages.
void print_table(const Trial::Tally& tally, std::ostream& out);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_TALLY_TABLE_H_
