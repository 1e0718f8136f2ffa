// The states that a user's rules had, and their form in a file:
//
//   quarrow-history 1
//   state REVISION SECONDS ORIGIN BYTES WHO
//   the rules document, of BYTES bytes
//   state ...
//
// The newest state comes first. SECONDS are those since the epoch, 0 when it is not known when the
// state came to be; ORIGIN is a word of origin_word(); WHO is the rest of the line, and may be
// empty. A line feed stands behind each document.
#ifndef QUARROW_ADMINISTRATION_RULES_HISTORY_H_
#define QUARROW_ADMINISTRATION_RULES_HISTORY_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Quarrow::Administration {

// How a state came to be. A state that was found was written by something that keeps no history.
enum class Origin { change, undo, redo, restore, found };

// "change", "undo", "redo", "restore" or "found".
std::string origin_word(Origin origin);

// A state of the rules, and the change that made it.
struct RulesState {
  std::string document;
  Origin origin = Origin::found;
  std::int64_t time = 0;  // in seconds since the epoch; 0: unknown
  std::string who;        // the person; empty: unknown
  std::string revision;   // of the document
};

// The state with its revision; control characters in `who` become question marks.
RulesState make_state(const std::string& document, Origin origin, std::int64_t time,
                      const std::string& who);

// The most that a history keeps; the oldest states go first.
constexpr std::size_t default_history_states = 50;
constexpr std::size_t most_history_states = 1000;
constexpr std::size_t most_history_bytes = std::size_t{4} << 20;  // of the file

class RulesHistory {
 public:
  // An empty history.
  RulesHistory() = default;

  // The states in a file's text, as far as they can be read from its beginning.
  explicit RulesHistory(const std::string& text);

  // Whether not all of that text could be read, or a document is not that of its revision.
  bool is_damaged() const { return is_damaged_; }

  // From the oldest state to the present one.
  const std::vector<RulesState>& states() const { return states_; }

  // Makes `state` the present one.
  void add(const RulesState& state) { states_.push_back(state); }

  // The newest state of that revision; null when there is none.
  const RulesState* find(const std::string& revision) const;

  // The state that an undo leads to; null when there is none. After an undo it is the one before
  // that state, and so on.
  const RulesState* undone() const;

  // The state that was undone last, unless it was redone; null when there is none, or when the
  // rules were changed after the undo.
  const RulesState* redone() const;

  // The text for the file: the newest states, `most_states` at most.
  std::string text(std::size_t most_states) const;

 private:
  std::vector<RulesState> states_;
  bool is_damaged_ = false;
};

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_HISTORY_H_
