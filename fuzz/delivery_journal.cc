// The journal of deliveries, from the user's folder.
#include "delivery/journal_record.h"
#include "delivery/place_text.h"
#include "fuzz/expectation.h"
#include "fuzz/target.h"

namespace Quarrow::Fuzz {
namespace {

using namespace Delivery;

std::string text_of(const std::vector<JournalRecord>& records) {
  std::string text;
  for (const JournalRecord& record : records) text += journal_text(record);
  return text;
}

void read_and_write(const std::string& journal) {
  const auto records = journal_records(journal);
  for (const JournalRecord& record : records) (void)past_place_text(record);
  const std::string written = text_of(records);
  expect_equal(written, text_of(journal_records(written)), "a journal that is written is the same");
  const auto more = journal_records(journal + written);
  expect(more.size() >= 2 * records.size(), "what is cut off costs no record behind it");
}

const Target target("delivery_journal", read_and_write);

}  // namespace
}  // namespace Quarrow::Fuzz
