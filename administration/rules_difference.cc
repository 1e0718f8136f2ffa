// Lists of filters compared.
#include "administration/rules_difference.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <list>
#include <map>
#include <set>

#include "administration/rule_text.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Filter__;
using MessageFilters::FilterList__;

// The filters of a list by their numbers, and their places from 1 on.
class FilterIndex {
 public:
  explicit FilterIndex(const FilterList__& list) {
    for (const auto& filter : list.filters)
      rows_.insert({filter->id, {filter.get(), rows_.size() + 1}});
  }

  const Filter__* filter(std::int32_t id) const {
    const auto row = rows_.find(id);
    return row == rows_.end() ? nullptr : row->second.filter;
  }

  std::size_t place(std::int32_t id) const { return rows_.at(id).place; }

 private:
  struct Row {
    const Filter__* filter;
    std::size_t place;
  };
  std::map<std::int32_t, Row> rows_;
};

// The numbers of the filters in both lists that are not part of the longest row of filters that
// stand in the same order in both.
std::set<std::int32_t> moved_filters(const FilterIndex& before, const FilterIndex& after,
                                     const FilterList__& list) {
  struct End {
    std::int32_t id;
    std::size_t length = 1;        // of the longest row that ends here
    std::ptrdiff_t previous = -1;  // the filter before this one in that row
  };
  std::vector<End> ends;
  for (const auto& filter : list.filters) {
    if (!before.filter(filter->id) || after.filter(filter->id) != filter.get()) continue;
    End end = {filter->id};
    for (std::size_t i = 0; i < ends.size(); ++i)
      if (before.place(ends[i].id) < before.place(end.id) && ends[i].length >= end.length) {
        end.length = ends[i].length + 1;
        end.previous = static_cast<std::ptrdiff_t>(i);
      }
    ends.push_back(end);
  }
  std::set<std::int32_t> moved;
  for (const End& end : ends) moved.insert(end.id);
  const auto longest = std::max_element(
      ends.begin(), ends.end(), [](const End& a, const End& b) { return a.length < b.length; });
  for (auto i = longest == ends.end() ? -1 : longest - ends.begin(); i >= 0;
       i = ends[static_cast<std::size_t>(i)].previous)
    moved.erase(ends[static_cast<std::size_t>(i)].id);
  return moved;
}

// `items` without one copy of each text in `others`.
std::vector<std::string> without(std::vector<std::string> items,
                                 const std::vector<std::string>& others) {
  for (const std::string& other : others) {
    const auto found = std::find(items.begin(), items.end(), other);
    if (found != items.end()) items.erase(found);
  }
  return items;
}

template <typename Item>
std::vector<std::string> texts_of(const std::list<Item>& items,
                                  std::string (*text_of)(const Item&)) {
  std::vector<std::string> texts;
  std::transform(items.begin(), items.end(), std::back_inserter(texts), text_of);
  return texts;
}

// What became of the tests, or the actions: `what` is "test" or "action".
void compare_texts(const std::string& what, const std::vector<std::string>& before,
                   const std::vector<std::string>& after, std::vector<std::string>& changes) {
  const auto removed = without(before, after);
  const auto added = without(after, before);
  for (const std::string& text : removed) changes.push_back(what + " removed: " + text);
  for (const std::string& text : added) changes.push_back(what + " added: " + text);
  if (removed.empty() && added.empty() && before != after)
    changes.push_back(what + "s in another order");
}

std::vector<std::string> changes_of(const Filter__& before, const Filter__& after) {
  std::vector<std::string> changes;
  if (before.name != after.name) changes.push_back("renamed from \"" + before.name + '"');
  if (before.enabled != after.enabled) changes.emplace_back(after.enabled ? "enabled" : "disabled");
  if (before.relation != after.relation)
    changes.emplace_back(after.relation == Filter__::ANYOF ? "any test may hold, not all must"
                                                           : "all tests must hold, not any");
  compare_texts("test", texts_of(before.tests, test_text), texts_of(after.tests, test_text),
                changes);
  compare_texts("action", texts_of(before.actions, action_text),
                texts_of(after.actions, action_text), changes);
  return changes;
}

}  // namespace

std::vector<RulesDifference> rules_differences(const FilterList__& before,
                                               const FilterList__& after) {
  const FilterIndex old_index(before);
  const FilterIndex new_index(after);
  const std::set<std::int32_t> moved = moved_filters(old_index, new_index, after);
  std::vector<RulesDifference> differences;
  for (const auto& filter : before.filters)
    if (!new_index.filter(filter->id)) differences.push_back({filter->id, filter->name, "removed"});
  for (const auto& filter : after.filters) {
    const auto add = [&](const std::string& change) {
      differences.push_back({filter->id, filter->name, change});
    };
    const Filter__* const old = old_index.filter(filter->id);
    if (!old) add("added");
    if (moved.count(filter->id) != 0)
      add("moved from place " + std::to_string(old_index.place(filter->id)) + " to place " +
          std::to_string(new_index.place(filter->id)));
    if (old)
      for (const std::string& change : changes_of(*old, *filter)) add(change);
  }
  return differences;
}

std::string difference_text(const RulesDifference& difference) {
  return "filter " + std::to_string(difference.id) + " \"" + difference.name +
         "\": " + difference.change;
}

}  // namespace Quarrow::Administration
