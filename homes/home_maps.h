// The maps that a mail server asks: requests answered from the table of homes.
#ifndef QUARROW_HOMES_HOME_MAPS_H_
#define QUARROW_HOMES_HOME_MAPS_H_

#include <string>

#include "homes/home_counters.h"
#include "homes/home_lookup.h"

namespace Quarrow::Homes {

// The map "transport" has the transport of a user's node, or one that has mail wait while the user
// is moved; the map "user" has the address of each user. One worker uses this for all its clients.
class HomeMaps {
 public:
  // `counters` outlives this object.
  HomeMaps(HomeLookup lookup, HomeCounters& counters);

  // The reply to a request, "MAP KEY", in the words of socketmap_table(5). What can't be told now
  // is never "NOTFOUND". The log has the reason when it is another one than before.
  std::string answer(const std::string& request);

 private:
  std::string refuse(const std::string& reason);
  HomeFound look_up(const std::string& address);

  HomeLookup lookup_;
  HomeCounters& counters_;
  std::string fault_;  // the reason of the last lookup, if that was impossible
};

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_HOME_MAPS_H_
