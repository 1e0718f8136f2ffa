// The reader of lists does the work: each part is put to it in a list of its own, so that a mistake
// in one part does not hide those in the others.
#include "web_api/filter_reading.h"

#include <quarrow/filter_list.h>

#include "administration/rule_check.h"
#include "administration/rules_json.h"

namespace Quarrow::WebApi {
namespace {

using Administration::Refusal;
using MessageFilters::Action;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::Test;
using nlohmann::ordered_json;
using FilterPointer = boost::shared_ptr<Filter__>;

// A valid filter without tests, of which a part is put in place of another.
ordered_json plain_filter() {
  return {{"id", 1},
          {"enabled", true},
          {"name", "-"},
          {"relation", Filter__::ALLOF},
          {"tests", ordered_json::array()},
          {"actions", ordered_json::array({ordered_json{{"method", Action::DELETE}}})}};
}

// The place in the part that the reader of lists names, without `part`: "/value" for
// "filters[0].tests[0].value" in "filters[0].tests[0]".
std::string place_in(const std::string& part, const std::string& object) {
  if (object.size() <= part.size() || object.compare(0, part.size(), part) != 0) return "";
  return pointer_step(object.substr(part.size() + 1));
}

// Reads a list of this one filter. `part` is what the mistakes are counted from.
FilterPointer read_alone(const ordered_json& filter, const std::string& part,
                         const Reading& reading, Mistakes& mistakes) {
  boost::shared_ptr<FilterList__> list;
  const Refusal refusal =
      Administration::read_rules_json(ordered_json::array({filter}).dump(), list);
  if (!refusal) return list->filters.front();
  mistakes.push_back({reading.pointer + place_in(part, refusal.object), "", refusal.reason});
  return nullptr;
}

void note(const Refusal& refusal, const Reading& reading, Mistakes& mistakes) {
  if (refusal)
    mistakes.push_back({reading.pointer + pointer_step(refusal.object), "", refusal.reason});
}

Action read_action(const ordered_json& json, const Reading& reading, Mistakes& mistakes) {
  ordered_json filter = plain_filter();
  filter["actions"][0] = json;
  const auto read = read_alone(filter, "filters[0].actions[0]", reading, mistakes);
  if (!read) return {};
  note(Administration::check_action(read->actions.front(), reading.dots), reading, mistakes);
  return read->actions.front();
}

// Reads the items of the list `json`, which is emptied, and gives them; none of what is no list.
template <typename Part>
std::list<Part> take_parts(ordered_json& json, const std::string& name, const Reading& reading,
                           Mistakes& mistakes,
                           Part (*read)(const ordered_json&, const Reading&, Mistakes&)) {
  std::list<Part> parts;
  if (!json.is_array()) return parts;
  for (const auto& item : json) {
    const std::string pointer = reading.pointer + name + '/' + std::to_string(parts.size());
    parts.push_back(read(item, {pointer, reading.dots}, mistakes));
  }
  json = ordered_json::array();
  return parts;
}

// The parts of a filter beside its tests and actions, in a filter without tests.
FilterPointer read_frame(ordered_json frame, const Reading& reading, Mistakes& mistakes) {
  const bool has_number = frame.contains("id");
  if (!has_number) frame["id"] = 1;
  if (frame.contains("actions") && frame["actions"] == ordered_json::array())
    frame["actions"] = plain_filter()["actions"];
  const auto filter = read_alone(frame, "filters[0]", reading, mistakes);
  if (!filter) return Filter__::Create();
  if (!has_number) filter->id = 0;
  note(Administration::check_name(filter->name), reading, mistakes);
  return filter;
}

// The member, or a value of no type that is expected.
ordered_json& member(ordered_json& json, const char* name, ordered_json& other) {
  return json.contains(name) ? json[name] : other;
}

}  // namespace

std::string pointer_step(const std::string& text) {
  std::string step = "/";
  for (const char c : text) step += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
  return step;
}

Test read_test(const ordered_json& json, const Reading& reading, Mistakes& mistakes) {
  ordered_json filter = plain_filter();
  filter["tests"].push_back(json);
  const auto read = read_alone(filter, "filters[0].tests[0]", reading, mistakes);
  if (!read) return {};
  note(Administration::check_test(read->tests.front()), reading, mistakes);
  return read->tests.front();
}

FilterPointer read_filter(const ordered_json& json, const Reading& reading, Mistakes& mistakes) {
  if (!json.is_object()) {
    mistakes.push_back({reading.pointer, "", "must be an object"});
    return Filter__::Create();
  }
  ordered_json frame = json;
  for (const char* shown : {"sentence", "warnings"}) frame.erase(shown);
  ordered_json none;
  ordered_json& tests = member(frame, "tests", none);
  ordered_json& actions = member(frame, "actions", none);
  if (tests.is_array() && actions.is_array())
    note(Administration::check_counts(tests.size(), actions.size()), reading, mistakes);
  if (tests.is_array() && tests.size() > Filter__::max_tests()) return Filter__::Create();
  const auto read_tests = take_parts<Test>(tests, "/tests", reading, mistakes, read_test);
  const auto read_actions = take_parts<Action>(actions, "/actions", reading, mistakes, read_action);
  const auto filter = read_frame(frame, reading, mistakes);
  filter->tests = read_tests;
  filter->actions = read_actions;
  return filter;
}

}  // namespace Quarrow::WebApi
