// Filters written as JSON, and read by the same names.
#include "administration/rules_json.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <list>
#include <nlohmann/json.hpp>
#include <set>
#include <vector>

#include "administration/json_text.h"
#include "administration/rule_check.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;
using MessageFilters::Action;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::Test;
using nlohmann::ordered_json;

ordered_json to_json(const Test& test) {
  return {{"type", test.field.type}, {"field", test.field.name},  {"comparator", test.comparator},
          {"value", test.value},     {"negative", test.negative}, {"match_case", test.match_case}};
}

ordered_json to_json(const Action& action) {
  ordered_json out = {{"method", action.method}};
  if (!action.target.empty()) out["target"] = action.target;
  if (!action.value.empty()) out["value"] = action.value;
  return out;
}

ordered_json to_json(const Filter__& filter) {
  ordered_json out = {{"id", filter.id},
                      {"enabled", filter.enabled},
                      {"name", filter.name},
                      {"relation", filter.relation},
                      {"tests", ordered_json::array()},
                      {"actions", ordered_json::array()}};
  for (const auto& test : filter.tests) out["tests"].push_back(to_json(test));
  for (const auto& action : filter.actions) out["actions"].push_back(to_json(action));
  return out;
}

Refusal wrong_value(const std::string& place, const std::string& reason) {
  return {Kind::wrong_json, place, reason};
}

// A refusal whose object is a part of what is at `place`.
Refusal at(const std::string& place, Refusal refusal) {
  if (refusal) refusal.object = place + '.' + refusal.object;
  return refusal;
}

std::string item(const std::string& list, std::size_t index) {
  return list + '[' + std::to_string(index) + ']';
}

Refusal of_type(const std::string& place, const std::string& wanted) {
  return wrong_value(place, "must be " + wanted);
}

// The members of one object, taken by their names. What is wrong first is kept; a member that is
// not as it should be is read as empty.
class Members {
 public:
  Members(std::string place, const ordered_json& object)
      : place_(std::move(place)), object_(object) {
    if (!object.is_object()) refuse(of_type(place_, "an object"));
  }

  std::string text(const char* name) { return take<std::string>(name, "a text", is_text); }
  bool flag(const char* name) { return take<bool>(name, "true or false", is_flag); }
  std::int32_t number(const char* name) {
    return take<std::int32_t>(name, "a whole number of 32 bits other than 0", is_number);
  }
  ordered_json list(const char* name) { return take<ordered_json>(name, "a list", is_list); }

  // A text that may be missing, but not empty.
  std::string optional_text(const char* name) {
    if (refusal_ || !object_.contains(name)) return "";
    const std::string value = text(name);
    if (!refusal_ && value.empty())
      refuse(wrong_value(place_of(name), "empty; leave the member out"));
    return value;
  }

  void refuse(const Refusal& refusal) {
    if (!refusal_) refusal_ = refusal;
  }

  // The first thing that is wrong; at last a member that was not asked for.
  Refusal end() {
    if (refusal_) return refusal_;
    for (const auto& member : object_.items())
      if (taken_.count(member.key()) == 0)
        return wrong_value(place_of(member.key()), "unknown member");
    return {};
  }

 private:
  static bool is_text(const ordered_json& value) { return value.is_string(); }
  static bool is_flag(const ordered_json& value) { return value.is_boolean(); }
  static bool is_list(const ordered_json& value) { return value.is_array(); }
  static bool is_number(const ordered_json& value) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > Limits::max()) return false;
    return value.is_number_integer() && value != 0 && value.get<std::int64_t>() >= Limits::min();
  }

  std::string place_of(const std::string& name) const { return place_ + '.' + name; }

  template <typename Value>
  Value take(const char* name, const char* wanted, bool (*fits)(const ordered_json&)) {
    taken_.insert(name);
    if (refusal_) return {};
    const auto found = object_.find(name);
    if (found == object_.end()) return refuse(wrong_value(place_of(name), "missing")), Value();
    if (!fits(*found)) return refuse(of_type(place_of(name), wanted)), Value();
    return found->template get<Value>();
  }

  std::string place_;
  const ordered_json& object_;
  std::set<std::string> taken_;
  Refusal refusal_;
};

Refusal read(const std::string& place, const ordered_json& json, Test& test) {
  Members members(place, json);
  test.field.type = members.text("type");
  test.field.name = members.text("field");
  test.field.customized = true;  // as it is loaded from a rules document, which does not store it
  test.comparator = members.text("comparator");
  test.value = members.text("value");
  test.negative = members.flag("negative");
  test.match_case = members.flag("match_case");
  if (const Refusal refusal = members.end()) return refusal;
  return at(place, check_words(test));
}

Refusal read(const std::string& place, const ordered_json& json, Action& action) {
  Members members(place, json);
  action.method = members.text("method");
  action.target = members.optional_text("target");
  action.value = members.optional_text("value");
  if (const Refusal refusal = members.end()) return refusal;
  return at(place, check_words(action));
}

template <typename Item>
Refusal read_all(const std::string& place, const ordered_json& json, std::list<Item>& items) {
  for (const auto& value : json) {
    Item read_item;
    if (const Refusal refusal = read(item(place, items.size()), value, read_item)) return refusal;
    items.push_back(read_item);
  }
  return {};
}

// The parts of a filter beside its tests and actions.
Refusal check(const Filter__& filter) {
  if (filter.name.empty()) return check_name(filter.name);
  if (const Refusal refusal = check_relation(filter.relation)) return refusal;
  // a list from elsewhere may hold a filter without tests, which never runs
  return check_counts(std::max(filter.tests.size(), std::size_t{1}), filter.actions.size());
}

Refusal read(const std::string& place, const ordered_json& json, Filter__& filter) {
  Members members(place, json);
  filter.id = members.number("id");
  filter.enabled = members.flag("enabled");
  filter.name = members.text("name");
  filter.relation = members.text("relation");
  const ordered_json tests = members.list("tests");
  const ordered_json actions = members.list("actions");
  if (const Refusal refusal = members.end()) return refusal;
  if (const Refusal refusal = read_all(place + ".tests", tests, filter.tests)) return refusal;
  if (const Refusal refusal = read_all(place + ".actions", actions, filter.actions)) return refusal;
  return at(place, check(filter));
}

Refusal read_list(const ordered_json& json, FilterList__& list) {
  if (!json.is_array()) return of_type("filters", "a list");
  for (const auto& value : json) {
    const std::string place = item("filters", list.filters.size());
    const auto filter = Filter__::Create();
    if (const Refusal refusal = read(place, value, *filter)) return refusal;
    if (list.find_filter(filter->id))
      return wrong_value(place + ".id", std::to_string(filter->id) + " is another filter's number");
    (void)list.append(filter);  // it is valid, and has a number
  }
  return {};
}

// The revision tells of the rules that were, and nothing of what is read.
Refusal read_filters(const ordered_json& json, FilterList__& list) {
  if (!json.is_object()) return read_list(json, list);
  Members members("rules", json);
  (void)members.text("revision");
  const ordered_json filters = members.list("filters");
  if (const Refusal refusal = members.end()) return refusal;
  return read_list(filters, list);
}

ordered_json to_json(const FilterList__& list) {
  ordered_json out = ordered_json::array();
  for (const auto& filter : list.filters) out.push_back(to_json(*filter));
  return out;
}

std::string text_of(const ordered_json& json) {
  // replace: a document from elsewhere may hold texts that are no UTF-8
  return json.dump(2, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace

std::string rules_json(const FilterList__& filters) { return text_of(to_json(filters)); }

std::string rules_json(const FilterList__& filters, const std::string& revision) {
  return text_of({{"revision", revision}, {"filters", to_json(filters)}});
}

Refusal read_rules_json(const std::string& json, boost::shared_ptr<FilterList__>& filters) {
  ordered_json parsed;
  if (const Refusal refusal = read_json_text(json, "filters", parsed)) return refusal;
  const auto list = FilterList__::Create();
  if (const Refusal refusal = read_filters(parsed, *list)) return refusal;
  filters = list;
  return {};
}

}  // namespace Quarrow::Administration
