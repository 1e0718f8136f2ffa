// The parser's events, watched for what it takes without a word.
#include "administration/json_text.h"

#include <set>
#include <vector>

namespace Quarrow::Administration {

using nlohmann::ordered_json;

namespace {

// Lists, filters, their tests, and room for what is wrong there.
constexpr int most_depth = 8;

// Notes what the parser does not mind: a member that comes a second time in its object, and values
// so deep inside each other that handling them would use up the stack.
class Oddities {
 public:
  bool operator()(int depth, ordered_json::parse_event_t event, const ordered_json& value) {
    if (depth > most_depth) is_deep_ = true;
    if (event == ordered_json::parse_event_t::object_start) open_.emplace_back();
    if (event == ordered_json::parse_event_t::object_end) open_.pop_back();
    if (event == ordered_json::parse_event_t::key &&
        !open_.back().insert(value.get<std::string>()).second && name_.empty())
      name_ = value.get<std::string>();
    return depth <= most_depth;
  }
  bool is_deep() const { return is_deep_; }
  const std::string& repeated() const { return name_; }

 private:
  bool is_deep_ = false;
  std::vector<std::set<std::string>> open_;  // the names in the objects around the current place
  std::string name_;
};

}  // namespace

Refusal read_json_text(const std::string& text, const std::string& object, ordered_json& json) {
  const auto wrong = [&object](const std::string& reason) -> Refusal {
    return {Refusal::Kind::wrong_json, object, reason};
  };
  const auto no_json = [&wrong](std::size_t byte) {
    return wrong("no JSON from byte " + std::to_string(byte) + " on");
  };
  const std::size_t end = text.find('\0');  // the parser would take it for the end of the text
  if (end != std::string::npos) return no_json(end + 1);
  Oddities oddities;
  try {
    json = ordered_json::parse(
        text, [&oddities](int depth, auto event,
                          const ordered_json& value) { return oddities(depth, event, value); });
  } catch (const ordered_json::parse_error& error) {
    return no_json(error.byte);
  } catch (const ordered_json::exception&) {  // what else the parser throws
    return wrong("holds a number that is too large");
  }
  if (oddities.is_deep()) return wrong("holds values too deep inside each other");
  if (oddities.repeated().empty()) return {};
  return wrong("the member \"" + oddities.repeated() + "\" comes twice in one object");
}

}  // namespace Quarrow::Administration
