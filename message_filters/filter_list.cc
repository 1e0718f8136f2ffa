// Editing a list of filters: finding, adding, removing and moving them.
#include "quarrow/filter_list.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <iterator>
#include <limits>

namespace Quarrow::MessageFilters {

namespace {

// Sees to it that `filter` has an id. False, with nothing changed, when there is none left.
bool settle_id(std::int32_t& last_id, Filter__& filter) {
  if (filter.id != 0) {
    last_id = std::max(last_id, filter.id);
    return true;
  }
  if (last_id == std::numeric_limits<std::int32_t>::max()) return false;
  filter.id = ++last_id;
  return true;
}

bool remove_at(FilterList__& list, FilterList__::position place) {
  if (place == list.filters.end()) return false;
  list.filters.erase(place);
  return true;
}

boost::shared_ptr<Filter__> filter_at(const FilterList__& list, FilterList__::position place) {
  return place == list.filters.end() ? boost::shared_ptr<Filter__>() : *place;
}

}  // namespace

boost::shared_ptr<FilterList__> FilterList__::Create() {
  return boost::make_shared<FilterList__>();
}

FilterList__::position FilterList__::__find_filter(std::int32_t id) {
  return std::find_if(
      filters.begin(), filters.end(), [id](const auto& filter) { return filter->id == id; });
}

FilterList__::position FilterList__::__find_filter(const std::string& name) {
  return std::find_if(
      filters.begin(), filters.end(), [&name](const auto& filter) { return filter->name == name; });
}

boost::shared_ptr<Filter__> FilterList__::find_filter(std::int32_t id) {
  return filter_at(*this, __find_filter(id));
}

boost::shared_ptr<Filter__> FilterList__::find_filter(const std::string& name) {
  return filter_at(*this, __find_filter(name));
}

bool FilterList__::add(const boost::shared_ptr<Filter__>& filter, std::int32_t position_id) {
  if (!filter || !filter->is_valid()) return false;
  if (!settle_id(last_id, *filter)) return false;
  filters.insert(position_id > 0 ? __find_filter(position_id) : filters.end(), filter);
  return true;
}

bool FilterList__::append(const boost::shared_ptr<Filter__>& filter) { return add(filter, 0); }

bool FilterList__::remove(const std::string& name) { return remove_at(*this, __find_filter(name)); }

bool FilterList__::remove(std::int32_t id) { return remove_at(*this, __find_filter(id)); }

bool FilterList__::move_before(std::int32_t id, std::int32_t target) {
  if (id == target) return true;
  const position moved = __find_filter(id);
  if (moved == filters.end()) return false;
  const position place = __find_filter(target);
  filters.splice(place == filters.end() ? filters.begin() : place, filters, moved);
  return true;
}

bool FilterList__::move_after(std::int32_t id, std::int32_t target) {
  if (id == target) return true;
  const position moved = __find_filter(id);
  if (moved == filters.end()) return false;
  const position place = __find_filter(target);
  filters.splice(place == filters.end() ? place : std::next(place), filters, moved);
  return true;
}

bool FilterList__::move_up(std::int32_t id, std::uint64_t count) {
  if (count == 0) return true;
  const position moved = __find_filter(id);
  if (moved == filters.end()) return false;
  position place = moved;
  for (; count > 0 && place != filters.begin(); --count) --place;
  filters.splice(place, filters, moved);
  return true;
}

bool FilterList__::move_down(std::int32_t id, std::uint64_t count) {
  if (count == 0) return true;
  const position moved = __find_filter(id);
  if (moved == filters.end()) return false;
  position place = std::next(moved);
  for (; count > 0 && place != filters.end(); --count) ++place;
  filters.splice(place, filters, moved);
  return true;
}

}  // namespace Quarrow::MessageFilters
