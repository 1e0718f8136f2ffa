// Names and descriptions of the counters.
#include "homes/home_counters.h"

#include <iterator>

namespace Quarrow::Homes {
namespace {

// A row for each HomeCounter, in their order.
const Server::CounterRow rows[] = {
    {"quarrow_home_lookups_total", "{result=\"found\"}", "Lookups of users' homes."},
    {"quarrow_home_lookups_total", "{result=\"moving\"}", ""},
    {"quarrow_home_lookups_total", "{result=\"unknown\"}", ""},
    {"quarrow_home_lookups_total", "{result=\"unavailable\"}", ""},
    {"quarrow_home_requests_refused_total", "", "Requests that were not understood."},
    {"quarrow_workers_replaced_total", "", "Worker processes that ended unasked."}};
static_assert(std::size(rows) == static_cast<std::size_t>(HomeCounter::count));

}  // namespace

HomeCounters::HomeCounters() : Counters({std::begin(rows), std::end(rows)}) {}

}  // namespace Quarrow::Homes
