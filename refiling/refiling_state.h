// How far work on a user's mail has come, for those who did not start it.
#ifndef QUARROW_REFILING_REFILING_STATE_H_
#define QUARROW_REFILING_REFILING_STATE_H_

#include <cstdint>
#include <ctime>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "refiling/refiling_plan.h"

namespace Quarrow::Refiling {

// The work is at one of the first three as long as its process is there, and at one of the others
// afterwards.
enum class Stage {
  planning,
  filing,
  undoing,
  none,  // there was no work yet
  planned,
  filed,
  undone,
  stopped,      // as the user asked
  interrupted,  // the process was gone before its end
  failed        // for a reason
};

// How many failures are told one by one.
constexpr std::size_t most_failure_examples = 10;

struct RefilingState {
  Stage stage = Stage::none;
  std::string folder;               // for a person; empty for an undo
  std::optional<std::string> rule;  // the name of the only rule that was asked for
  std::string revision;             // of the rules; empty for an undo
  std::time_t started = 0;
  std::optional<std::time_t> ended;
  std::uint64_t done = 0;  // messages that were decided about, or steps that were undone
  std::uint64_t total = 0;
  PlanSummary counts;                         // with the names of folders for a person
  std::uint64_t failures = 0;                 // messages not evaluated, or not where they should be
  std::vector<std::string> failure_examples;  // "MESSAGE: REASON"
  std::string reason;                         // of a failure; empty otherwise
  std::string key;                            // that the request for it had; empty without one
};

// Whether the work goes on at that stage.
bool is_going_on(Stage stage);

// The state in JSON, without its key. Bytes that are not UTF-8 may be in it.
nlohmann::ordered_json json_of(const RefilingState& state);

// The state as a text with all that belongs to it, and the state in such a text; nothing for
// another text.
std::string text_of(const RefilingState& state);
std::optional<RefilingState> state_in(const std::string& text);

}  // namespace Quarrow::Refiling

#endif  // QUARROW_REFILING_REFILING_STATE_H_
