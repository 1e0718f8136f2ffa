// One user's filters: the limit, the check of a test, and the commit.
#include <base.h>

#include <boost/make_shared.hpp>
#include <memory>

#include "message_filters/sieve_script.h"
#include "message_filters/user_filter_path.h"
#include "quarrow/evaluation.h"
#include "quarrow/user_stores.h"

namespace Quarrow::MessageFilters {

namespace {

enum { DONE = 0, INVALID_TEST = 1, NOT_WRITTEN = 2, REFUSED = 3 };

constexpr int directory_mode = 0766;

// The most filters of a user, by the grade of the system's capacity, and above the last grade.
constexpr struct {
  std::uint32_t last_grade;
  std::uint64_t filters;
} filters_by_grade[] = {{7, 20}, {18, 60}};
constexpr std::uint64_t filters_above = 100;

// The folder is the host's business: the path is empty, and create_path succeeds with it.
bool make_directory(const EmailAddress& address) {
  return create_path(user_filter_path(address, FILTER_DIRECTORY), directory_mode) >= 0;
}

bool compiles(const std::string& script) {
  return std::unique_ptr<SieveMatch>(SieveMatch::Create(script, nullptr)) != nullptr;
}

}  // namespace

boost::shared_ptr<UserMessageFilters__> UserMessageFilters__::Create(const EmailAddress& address) {
  if (address.isNull()) return boost::shared_ptr<UserMessageFilters__>();
  return boost::make_shared<UserMessageFilters__>(address);
}

UserMessageFilters__::UserMessageFilters__(const EmailAddress& user)
    : address(user), filters(FilterList__::LoadFromXML(user_filter_path(user, FILTER_XML))) {
  if (!filters) filters = FilterList__::Create();
}

std::uint64_t UserMessageFilters__::max_filters() {
  if (!cmdb.system) return filters_above;
  for (const auto& row : filters_by_grade)
    if (cmdb.system->capacity_grade <= row.last_grade) return row.filters;
  return filters_above;
}

bool UserMessageFilters__::max_filters_reached() const {
  return max_filters() <= filters->filters.size();
}

bool UserMessageFilters__::add_filter(const boost::shared_ptr<Filter__>& filter,
                                      std::uint32_t position_id) {
  if (max_filters_reached()) return false;
  return filters->add(filter, static_cast<std::int32_t>(position_id));
}

bool UserMessageFilters__::remove_filter(std::uint32_t id) {
  return filters->remove(static_cast<std::int32_t>(id));
}

int UserMessageFilters__::validate_test(const Test& test) {
  if (!test.is_valid()) return INVALID_TEST;
  if (!make_directory(address)) return NOT_WRITTEN;
  const TempFile script(user_filter_path(address, FILTER_DIRECTORY));
  if (!list_to_try(test)->SaveToSieve(script.name(), false)) return NOT_WRITTEN;
  return compiles(script.name()) ? DONE : REFUSED;
}

int UserMessageFilters__::persist() {
  if (!make_directory(address)) return NOT_WRITTEN;
  const std::string document = user_filter_path(address, FILTER_XML);
  const std::string script = user_filter_path(address, FILTER_SIEVE);

  // Disabled filters must compile, too, although they are not in the script in the end.
  if (!filters->SaveToSieve(temporary_path(script), true)) return NOT_WRITTEN;
  if (!compiles(temporary_path(script))) return REFUSED;
  if (!filters->SaveToXML(temporary_path(document))) return NOT_WRITTEN;
  if (!filters->SaveToSieve(temporary_path(script), false)) return NOT_WRITTEN;

  put_in_place(document);
  put_in_place(script);
  return DONE;
}

}  // namespace Quarrow::MessageFilters
