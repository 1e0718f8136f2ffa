// Filters by id and by name.
#include "administration/filter_reference.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <vector>

#include "administration/near_names.h"
#include "system/printable.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;
using MessageFilters::Filter__;
using MessageFilters::UserMessageFilters__;

using Filters = std::vector<boost::shared_ptr<Filter__>>;

// 0, which is no filter's id, for a number that is too large.
std::int32_t id_in(const std::string& text) {
  std::int32_t id = 0;
  (void)std::from_chars(text.data(), text.data() + text.size(), id);
  return id;
}

// The filter of that id, or those of that name.
Filters matching(const UserMessageFilters__& rules, const std::string& text) {
  const bool by_id = is_filter_id(text);
  const std::int32_t id = by_id ? id_in(text) : 0;
  Filters found;
  for (const auto& filter : rules.filters->filters)
    if (by_id ? filter->id == id : filter->name == text) found.push_back(filter);
  return found;
}

Refusal missing(const UserMessageFilters__& rules, const std::string& text) {
  if (is_filter_id(text))
    return {Kind::no_such_filter, rules.address.address(), "no filter " + shortened(text)};
  std::vector<std::string> names;
  for (const auto& filter : rules.filters->filters) names.push_back(filter->name);
  const std::string question = did_you_mean(text, names);
  return {Kind::no_such_filter, rules.address.address(),
          "no filter \"" + shortened(text) + '"' + (question.empty() ? "" : "; " + question)};
}

Refusal ambiguous(const UserMessageFilters__& rules, const std::string& text,
                  const Filters& found) {
  std::string ids;
  for (const auto& filter : found) ids += (ids.empty() ? "" : ", ") + std::to_string(filter->id);
  return {Kind::ambiguous_filter, rules.address.address(),
          std::to_string(found.size()) + " filters are named \"" + shortened(text) +
              "\"; name one by its id: " + ids};
}

}  // namespace

bool is_filter_id(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

Refusal find_filter(const UserMessageFilters__& rules, const std::string& text,
                    boost::shared_ptr<Filter__>& filter) {
  const Filters found = matching(rules, text);
  if (found.empty()) return missing(rules, text);
  if (found.size() > 1 && !is_filter_id(text)) return ambiguous(rules, text, found);
  filter = found.front();
  return {};
}

Refusal check_tells_by_name(const MessageFilters::UserMessageFilters__& rules,
                            const MessageFilters::Filter__& filter) {
  const std::string object = "filter " + std::to_string(filter.id);
  if (!filter.enabled) return {Refusal::Kind::wrong_rule, object, "is disabled"};
  const auto& filters = rules.filters->filters;
  const auto uses = std::count_if(filters.begin(), filters.end(), [&filter](const auto& each) {
    return each->enabled && each->name == filter.name;
  });
  if (uses < 2) return {};
  return {Refusal::Kind::wrong_rule, object,
          "has the name of another filter; give each a name of its own"};
}

std::string title_of(const Filter__& filter) {
  return "filter " + std::to_string(filter.id) + " \"" + filter.name + '"';
}

}  // namespace Quarrow::Administration
