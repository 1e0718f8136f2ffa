// The rules: looked at and changed.
#include <algorithm>
#include <charconv>
#include <memory>

#include "administration/filter_reference.h"
#include "web_api/filter_reading.h"
#include "web_api/refusal_problem.h"
#include "web_api/resources.h"
#include "web_api/rules_work.h"

namespace Quarrow::WebApi {
namespace {

using Administration::Refusal;
using Administration::RulesTransaction;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using nlohmann::ordered_json;
using Kind = Refusal::Kind;
using FilterPointer = boost::shared_ptr<Filter__>;

Edited not_valid(const std::string& pointer, const std::string& reason) {
  return {{Kind::wrong_rule, "", reason}, pointer};
}

// The number of the filter that the path names; 0, which none has, for what is no number.
std::int32_t id_of(const Call& call) {
  std::int32_t id = 0;
  const char* const end = call.item.data() + call.item.size();
  const auto read = std::from_chars(call.item.data(), end, id);
  return read.ec == std::errc() && read.ptr == end ? id : 0;
}

// Changes the filter that the path names.
Http::Response change_filter(
    const Call& call, const std::function<Edited(RulesTransaction&, const FilterPointer&)>& edit) {
  const std::int32_t id = id_of(call);
  return change_rules(call, {}, [&](RulesTransaction& rules) -> Edited {
    if (const Refusal refusal = rules.check_filter(id)) return {refusal};
    return edit(rules, rules.filters().filters->find_filter(id));
  });
}

// Takes the member `before` out of a new filter. A mistake is noted.
std::int32_t take_before(ordered_json& body, Mistakes& mistakes) {
  if (!body.is_object() || !body.contains("before")) return 0;
  const auto before = number_in(body["before"]);
  if (!before || *before == 0)
    mistakes.push_back({"/before", "", "must be the number of a filter"});
  body.erase("before");
  return before.value_or(0);
}

// Puts the parts of `filter` in place of those of `present`, which keeps its number.
void put_parts(const Filter__& filter, Filter__& present) {
  const std::int32_t id = present.id;
  present = filter;
  present.id = id;
}

// Where a filter goes.
struct Place {
  std::string word;  // before, after, first or last
  std::int32_t other = 0;
};

std::optional<Place> read_place(const ordered_json& body) {
  if (!body.is_object() || body.size() != 1) return std::nullopt;
  const std::string word = body.begin().key();
  const ordered_json& value = body.begin().value();
  if (word == "first" || word == "last")
    return value == true ? std::optional<Place>({word, 0}) : std::nullopt;
  const auto other = number_in(value);
  if ((word != "before" && word != "after") || !other) return std::nullopt;
  return Place{word, *other};
}

Edited move_to(RulesTransaction& rules, std::int32_t id, const Place& place) {
  FilterList__& list = *rules.filters().filters;
  if (place.word == "first") {
    (void)list.move_up(id, list.filters.size());  // the filter is there
  } else if (place.word == "last") {
    (void)list.move_down(id, list.filters.size());
  } else {
    const Refusal refusal = rules.check_filter(place.other);
    if (refusal) return not_valid('/' + place.word, refusal.reason);
    (void)(place.word == "before" ? list.move_before(id, place.other)
                                  : list.move_after(id, place.other));
  }
  return {};
}

// The filters of a whole list, in which what GET shows beside them is not looked at.
std::vector<FilterPointer> read_filters(const Call& call, Mistakes& mistakes) {
  std::vector<FilterPointer> filters;
  if (!call.body.is_object() || !call.body.contains("filters") ||
      !call.body["filters"].is_array()) {
    mistakes.push_back({"/filters", "", "must be a list"});
    return filters;
  }
  for (const auto& item : call.body["filters"])
    filters.push_back(read_filter(
        item, {"/filters/" + std::to_string(filters.size()), call.context.dots}, mistakes));
  for (const auto& member : call.body.items())
    if (member.key() != "filters" && member.key() != "revision" && member.key() != "script" &&
        member.key() != "remarks")
      mistakes.push_back({pointer_step(member.key()), "", "unknown member"});
  return filters;
}

// Puts the filters in place of all others. Numbers are not given a second time.
Edited put_filters(RulesTransaction& rules, const std::vector<FilterPointer>& filters) {
  auto& list = rules.filters().filters;
  const std::int32_t last_id = list->last_id;
  list = FilterList__::Create();
  list->last_id = last_id;
  for (const auto& filter : filters)  // first, so that none gets the number of a later one
    list->last_id = std::max(list->last_id, filter->id);
  for (const auto& filter : filters) {
    const std::string pointer = "/filters/" + std::to_string(list->filters.size());
    if (filter->id != 0 && list->find_filter(filter->id))
      return not_valid(pointer + "/id", std::to_string(filter->id) + " is another filter's number");
    if (const Refusal refusal = rules.add(filter, 0)) return {refusal};
  }
  return {};
}

}  // namespace

Http::Response list_filters(const Call& call) {
  return with_rules(
      call,
      [](const OpenRules& open) {
        return json_answer(200, view_of(open.rules, open.surroundings), open.rules.revision());
      });
}

Http::Response show_filter(const Call& call) {
  const std::int32_t id = id_of(call);
  return with_rules(call, [id](const OpenRules& open) {
    if (const Refusal refusal = open.rules.check_filter(id)) return refused(refusal);
    const ordered_json all = view_of(open.rules.filters().filters, open.surroundings);
    const auto filter = std::find_if(all.begin(), all.end(),
                                     [id](const ordered_json& each) { return each["id"] == id; });
    return json_answer(200, *filter, open.rules.revision());
  });
}

Http::Response add_filter(const Call& call) {
  Mistakes mistakes;
  ordered_json body = call.body;
  const std::int32_t before = take_before(body, mistakes);
  if (body.is_object() && body.contains("id"))
    mistakes.push_back({"/id", "", "a new filter gets its number here; leave it out"});
  const FilterPointer filter = read_filter(body, {"", call.context.dots}, mistakes);
  if (!mistakes.empty()) return not_taken(mistakes);
  return change_rules(call, {201, call.is_repeatable}, [&](RulesTransaction& rules) -> Edited {
    filter->id = 0;
    if (before != 0)
      if (const Refusal refusal = rules.check_filter(before))
        return not_valid("/before", refusal.reason);
    const Refusal refusal = rules.add(filter, before);
    return {refusal, "", ordered_json::object(), filter->id};
  });
}

Http::Response replace_filter(const Call& call) {
  Mistakes mistakes;
  const FilterPointer filter = read_filter(call.body, {"", call.context.dots}, mistakes);
  if (mistakes.empty() && filter->id != 0 && filter->id != id_of(call))
    mistakes.push_back({"/id", "", "is not the number in the address; a filter keeps its number"});
  if (!mistakes.empty()) return not_taken(mistakes);
  return change_filter(call, [&](RulesTransaction& /*rules*/, const FilterPointer& present) {
    put_parts(*filter, *present);
    return Edited();
  });
}

Http::Response switch_filter(const Call& call) {
  const ordered_json& body = call.body;
  if (!body.is_object() || body.size() != 1 || !body.contains("enabled") ||
      !body["enabled"].is_boolean())
    return not_taken({{"/enabled", "", "must be true or false, and the only member"}});
  return change_filter(call, [&](RulesTransaction& /*rules*/, const FilterPointer& present) {
    present->enabled = body["enabled"].get<bool>();
    return Edited();
  });
}

Http::Response move_filter(const Call& call) {
  const auto place = read_place(call.body);
  if (!place)
    return not_taken({{"", "",
                       "must have one member: \"before\" or \"after\" with the number of a filter, "
                       "or \"first\" or \"last\" with true"}});
  return change_filter(call, [&](RulesTransaction& rules, const FilterPointer& present) {
    return move_to(rules, present->id, *place);
  });
}

Http::Response remove_filter(const Call& call) {
  return change_filter(
      call,
      [](RulesTransaction& rules, const FilterPointer& present) -> Edited {
        return {rules.remove(present->id)};
      });
}

Http::Response replace_filters(const Call& call) {
  Mistakes mistakes;
  const auto filters = read_filters(call, mistakes);
  if (!mistakes.empty()) return not_taken(mistakes);
  return change_rules(call, {},
                      [&](RulesTransaction& rules) { return put_filters(rules, filters); });
}

}  // namespace Quarrow::WebApi
