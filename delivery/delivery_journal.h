// A user's journal: what was decided about each message, when it was delivered.
//
// It is the file `.delivery_journal` in the user's folder, which its owner alone reads. Nothing of
// it is fsynced: after a power failure the last records may be missing, or be cut off, which costs
// no message.
#ifndef QUARROW_DELIVERY_DELIVERY_JOURNAL_H_
#define QUARROW_DELIVERY_DELIVERY_JOURNAL_H_

#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

#include "delivery/journal_record.h"

namespace Quarrow::Delivery {

// A journal that has this many bytes, or whose first record is so many days old, is put aside when
// the next record comes, in place of the one that was put aside before. So the last 1 MiB is kept
// in any case, and nothing that is older than twice these days is read.
constexpr std::size_t journal_bytes = std::size_t{1} << 20U;
constexpr int journal_days = 30;

// The record's revision: that of the rules document in the user's folder `folder`. Empty when there
// is no document, or it can't be read.
std::string document_revision(const std::string& folder);

// Adds `record` to the journal in `folder`, by one write(2) at the file's end, so that deliveries
// do not cut each other's records. Gives why it was not added, with the file's path; empty when it
// was. Nothing is followed or waited for: a link, a fifo, or a file that has a second name
// or another owner is left alone.
//
// One delivery at a time puts a journal aside: it locks the file, and renames it. Another one that
// has the file open by then still adds its record there, and it is read there.
std::string append_to_journal(const std::string& folder, const JournalRecord& record);

struct Journal {
  std::vector<JournalRecord> records;  // the oldest first
  std::string fault;                   // why it can't be read; else empty
};

// The records in the journal of `folder` that are not too old at `now`. No journal has no records,
// and is no fault.
Journal read_journal(const std::string& folder, std::time_t now);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_DELIVERY_JOURNAL_H_
