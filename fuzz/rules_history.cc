// The history of a user's rules, from the user's folder.
#include "administration/rules_history.h"

#include "fuzz/expectation.h"
#include "fuzz/target.h"

namespace Quarrow::Fuzz {
namespace {

using namespace Administration;

void read_and_write(const std::string& text) {
  RulesHistory history(text);
  const std::string written = history.text(most_history_states);
  const RulesHistory again(written);
  expect(!again.is_damaged(), "a history that was written can be read");
  expect_equal(written, again.text(most_history_states), "and is the same");
  expect(again.states().size() == history.states().size(), "with all its states");
  for (const RulesState* state : {history.undone(), history.redone()})
    expect(state == nullptr || history.find(state->revision) != nullptr,
           "an undo leads to a state");
  history.add(make_state("<filters/>", Origin::change, 1777896000, "alice\n"));
  expect(history.redone() == nullptr, "after a change there is nothing to redo");
  const RulesHistory grown(history.text(default_history_states));
  expect(!grown.is_damaged() && grown.states().back().revision == history.states().back().revision,
         "a state that is added is the newest");
}

const Target target("rules_history", read_and_write);

}  // namespace
}  // namespace Quarrow::Fuzz
