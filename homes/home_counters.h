// The counters of the server that tells homes.
#ifndef QUARROW_HOMES_HOME_COUNTERS_H_
#define QUARROW_HOMES_HOME_COUNTERS_H_

#include <cstddef>

#include "server/counters.h"

namespace Quarrow::Homes {

// In the order in which they are written.
enum class HomeCounter : std::size_t {
  found,             // users whose home was told
  moving,            // users who were being moved
  unknown,           // addresses of nobody
  unavailable,       // lookups that the table's state made impossible
  refused,           // requests that are none, or for another map
  workers_replaced,  // worker processes that ended unasked
  count              // how many counters there are
};

class HomeCounters : public Server::Counters {
 public:
  HomeCounters();

  void add(HomeCounter counter) { Counters::add(static_cast<std::size_t>(counter)); }
};

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_HOME_COUNTERS_H_
