// Scripts that can't be handed to the interpreter.
#include "delivery/script_runner.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "system/child_process_test_support.h"
#include "system/refused_calls_test_support.h"
#include "tests/support/evaluation_test_support.h"

namespace Quarrow::Delivery {
namespace {

using Outcome = Evaluation::Outcome;

const char* const unreadable_address = "if address :all :is \"subject\" \"a\" { discard; }";
const char* const mail_header = "Subject: two words\n\n";

// What `script` comes to where nothing can be written after `first` was run.
Evaluation run_behind(ScriptRunner& runner, const char* first, const char* script) {
  (void)runner.run(first, mail_header, 0, 0);
  if (!refuse_call(SCMP_SYS(ftruncate), ENOSPC)) return {};
  return runner.run(script, mail_header, 0, 0);
}

TEST(ScriptRunner, ARunOfAScriptThatCantBeWrittenIsNotThatOfAnotherOne) {
  const ProcessEnd end = end_of_child([] {
    const MemoryFile file;
    ScriptRunner runner(file, 2);
    const Evaluation got = run_behind(runner, "discard;", "keep;");
    return got.outcome == Outcome::bad_script && got.result.actions.empty() ? 0 : 1;
  });
  EXPECT_EQ(0, end.signal);
  EXPECT_EQ(0, end.status);
}

TEST(ScriptRunner, AHeaderThatCantBeTriedIsNotNamed) {
  const ProcessEnd end = end_of_child([] {
    const MemoryFile file;
    ScriptRunner runner(file, 2);
    const Evaluation got = run_behind(runner, unreadable_address, unreadable_address);
    const bool has_failed = got.result.error == SieveMatchResult::PARSE_ADDRESS;
    return has_failed && got.reason.empty() ? 0 : 1;
  });
  EXPECT_EQ(0, end.signal);
  EXPECT_EQ(0, end.status);
}

}  // namespace
}  // namespace Quarrow::Delivery
