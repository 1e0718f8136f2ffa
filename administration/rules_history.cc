// States written, read, and found by their order.
#include "administration/rules_history.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>
#include <utility>

#include "message_filters/rules_revision.h"
#include "system/printable.h"

namespace Quarrow::Administration {
namespace {

constexpr char first_line[] = "quarrow-history 1\n";

// In the order of Origin.
constexpr std::string_view origin_words[] = {"change", "undo", "redo", "restore", "found"};

// Takes the parts of a history's text off its front. After a part that is not as it should be, all
// parts are empty.
class HistoryReader {
 public:
  explicit HistoryReader(std::string_view text) : rest_(text) {}

  bool failed() const { return failed_; }
  bool at_end() const { return rest_.empty(); }

  void expect(std::string_view text) {
    if (take(text.size()) != text) failed_ = true;
  }

  // The text up to `end`, which is taken, too. It is searched for in one line only.
  std::string_view up_to(char end) {
    const std::size_t line_end = rest_.find('\n');
    const std::size_t found = rest_.find(end);
    if (found == std::string_view::npos || found > line_end) return fail();
    const std::string_view part = take(found);
    rest_.remove_prefix(1);
    return part;
  }

  // A whole number that is not negative, and a blank.
  std::uint64_t number() {
    const std::string_view digits = up_to(' ');
    std::uint64_t value = 0;
    const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || end.ec != std::errc() || end.ptr != digits.data() + digits.size()) fail();
    return value;
  }

  Origin origin() {
    const auto word = std::find(std::begin(origin_words), std::end(origin_words), up_to(' '));
    if (word == std::end(origin_words)) fail();
    return failed_ ? Origin::found : static_cast<Origin>(word - std::begin(origin_words));
  }

  std::string_view take(std::uint64_t size) {
    if (failed_ || size > rest_.size()) return fail();
    const std::string_view part = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return part;
  }

 private:
  std::string_view fail() {
    failed_ = true;
    return {};
  }

  std::string_view rest_;
  bool failed_ = false;
};

RulesState read_state(HistoryReader& reader) {
  RulesState state;
  reader.expect("state ");
  state.revision = reader.up_to(' ');
  state.time = static_cast<std::int64_t>(reader.number());
  state.origin = reader.origin();
  const std::uint64_t size = reader.number();
  state.who = reader.up_to('\n');
  state.document = reader.take(size);
  reader.expect("\n");
  return state;
}

bool is_sound(const RulesState& state) {
  return state.time >= 0 && !has_control_characters(state.who) &&
         state.revision == rules_revision(state.document);
}

std::string text_of(const RulesState& state) {
  return "state " + state.revision + ' ' + std::to_string(state.time) + ' ' +
         origin_word(state.origin) + ' ' + std::to_string(state.document.size()) + ' ' + state.who +
         '\n' + state.document + '\n';
}

// The states that undo and redo lead along, and the present one among them.
struct UndoLine {
  std::vector<const RulesState*> states;
  std::size_t present = 0;
};

// The first states of a history may be undos of what is not kept any more: their states are at the
// line's front then, and those of redos at its end.
void follow(UndoLine& line, const RulesState& state) {
  auto& states = line.states;
  const auto place = states.begin() + static_cast<std::ptrdiff_t>(line.present);
  if (state.origin == Origin::undo && line.present > 0) {
    --line.present;
  } else if (state.origin == Origin::undo) {
    states.insert(place, &state);
  } else if (state.origin == Origin::redo && line.present + 1 < states.size()) {
    ++line.present;
  } else {
    if (!states.empty()) states.erase(place + 1, states.end());
    states.push_back(&state);
    line.present = states.size() - 1;
  }
}

UndoLine undo_line(const std::vector<RulesState>& states) {
  UndoLine line;
  for (const RulesState& state : states) follow(line, state);
  return line;
}

}  // namespace

std::string origin_word(Origin origin) {
  return std::string(origin_words[static_cast<std::size_t>(origin)]);
}

RulesState make_state(const std::string& document, Origin origin, std::int64_t time,
                      const std::string& who) {
  return {document, origin, time, with_controls_as('?', who), rules_revision(document)};
}

RulesHistory::RulesHistory(const std::string& text) {
  HistoryReader reader(text);
  reader.expect(first_line);
  while (!reader.failed() && !reader.at_end()) {
    RulesState state = read_state(reader);
    if (reader.failed() || !is_sound(state)) {
      is_damaged_ = true;
      break;
    }
    states_.push_back(std::move(state));  // a history may hold megabytes
  }
  is_damaged_ |= reader.failed();
  std::reverse(states_.begin(), states_.end());
}

const RulesState* RulesHistory::find(const std::string& revision) const {
  const auto found =
      std::find_if(states_.rbegin(), states_.rend(),
                   [&revision](const RulesState& state) { return state.revision == revision; });
  return found == states_.rend() ? nullptr : &*found;
}

const RulesState* RulesHistory::undone() const {
  const UndoLine line = undo_line(states_);
  return line.present == 0 ? nullptr : line.states[line.present - 1];
}

const RulesState* RulesHistory::redone() const {
  const UndoLine line = undo_line(states_);
  return line.present + 1 < line.states.size() ? line.states[line.present + 1] : nullptr;
}

std::string RulesHistory::text(std::size_t most_states) const {
  std::string text = first_line;
  text.reserve(most_history_bytes);  // only what is written takes memory
  std::size_t count = 0;
  for (auto state = states_.rbegin(); state != states_.rend() && count < most_states; ++state) {
    const std::string next = text_of(*state);
    if (text.size() + next.size() > most_history_bytes) break;
    text += next;
    ++count;
  }
  return text;
}

}  // namespace Quarrow::Administration
