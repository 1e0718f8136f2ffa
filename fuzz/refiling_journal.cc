// The journal of moved mail, from the user's folder: a run is added and taken back. The first line
// of the input also names the message of that run.
#include "refiling/journal.h"

#include "fuzz/expectation.h"
#include "fuzz/target.h"
#include "system/packet.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Fuzz {
namespace {

using namespace Refiling;

using Steps = std::optional<std::vector<Step>>;

Steps last_run(const Journal& journal) {
  Steps steps;
  expect_equal("", journal.read_last_run(steps).reason, "a journal can be read");
  return steps;
}

std::string bytes_of(const Steps& steps) {
  PacketWriter writer;
  writer.number(steps ? 1 : 0);
  for (const Step& step : steps.value_or(std::vector<Step>())) {
    writer.number(static_cast<std::uint64_t>(step.kind));
    writer.text(step.unique);
    writer.text(step.from);
    writer.text(step.to);
  }
  return writer.packet();
}

void add_and_undo(const std::string& input) {
  static const TemporaryFolder folder;
  folder.write(journal_name, input);
  Journal journal;
  expect_equal("", journal.open(folder.path()).reason, "a journal can be opened");
  const Steps before = last_run(journal);
  const Step step{Step::Kind::copy, input.substr(0, input.find('\n')), "", ".A"};
  journal.begin_run();
  journal.add(step);
  expect_equal("", journal.write().reason, "and written");
  expect_equal(bytes_of(Steps({step})), bytes_of(last_run(journal)), "a run can be read again");
  journal.add_undone();
  expect_equal("", journal.write().reason, "its end, too");
  expect_equal(bytes_of(before), bytes_of(last_run(journal)), "then the run before is the last");
}

const Target target("refiling_journal", add_and_undo);

}  // namespace
}  // namespace Quarrow::Fuzz
