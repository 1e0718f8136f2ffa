// A delivery that is killed at each of its system calls while it adds to a journal that is due to
// be put aside.
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <algorithm>
#include <string>
#include <vector>

#include "delivery/delivery_journal.h"
#include "system/traced_process_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Delivery {
namespace {

constexpr std::time_t time_of_records = 1777896000;

JournalRecord record_called(const std::string& id) {
  JournalRecord record;
  record.time = time_of_records;
  record.message_id = id;
  return record;
}

std::vector<std::string> ids_in(const std::string& folder) {
  std::vector<std::string> ids;
  for (const auto& record : read_journal(folder, time_of_records).records)
    ids.push_back(record.message_id);
  return ids;
}

TEST(InterruptedJournal, KeepsTheRecordsBeforeAndTakesThoseBehind) {
  bool is_done = false;
  for (int stops = 0; !is_done; ++stops) {
    const TemporaryFolder folder;
    folder.write(".delivery_journal",
                 journal_text(record_called("<1>")) + std::string(journal_bytes, '\n'));
    TracedProcess delivery(
        [&folder] { (void)append_to_journal(folder.path(), record_called("<2>")); });
    if (!delivery.is_running()) GTEST_SKIP() << "processes can't be traced here";
    for (int stop = 0; stop < stops && !is_done; ++stop) is_done = !delivery.step();
    delivery.kill();
    SCOPED_TRACE("killed at stop " + std::to_string(stops));
    EXPECT_EQ("", append_to_journal(folder.path(), record_called("<3>")));
    std::vector<std::string> ids = ids_in(folder.path());
    ids.erase(std::remove(ids.begin(), ids.end(), "<2>"), ids.end());
    EXPECT_EQ((std::vector<std::string>{"<1>", "<3>"}), ids);
  }
}

// It would put the new journal in place of the one that holds all the records.
TEST(InterruptedJournal, IsNotPutAsideTwiceByDeliveriesThatBothFindItDue) {
  const TemporaryFolder folder;
  folder.write(".delivery_journal",
               journal_text(record_called("<1>")) + std::string(journal_bytes, '\n'));
  TracedProcess late([&folder] { (void)append_to_journal(folder.path(), record_called("<2>")); });
  if (!late.is_running()) GTEST_SKIP() << "processes can't be traced here";
  while (late.step() && late.beginning_call() != SYS_flock) continue;
  ASSERT_TRUE(late.is_running());
  EXPECT_EQ("", append_to_journal(folder.path(), record_called("<3>")));
  while (late.step()) continue;
  EXPECT_EQ((std::vector<std::string>{"<1>", "<3>", "<2>"}), ids_in(folder.path()));
}

}  // namespace
}  // namespace Quarrow::Delivery
