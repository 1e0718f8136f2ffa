// What the table of homes holds, in order.
#ifndef QUARROW_HOMES_HOME_LISTING_H_
#define QUARROW_HOMES_HOME_LISTING_H_

#include <functional>
#include <string>

#include "homes/home_refusal.h"

namespace Quarrow::Homes {

struct Node {
  std::string name;
  std::string transport;
};

struct Home {
  std::string user;
  std::string node;
  bool moving = false;  // the user is being moved from there
};

// Calls `visit` for each node of the table in `file`, by name.
HomeRefusal list_nodes(const std::string& file, const std::function<void(const Node&)>& visit);

// Calls `visit` for each user, by address: those who live at `node`, or all where it is empty.
// Refuses a node that is not known.
HomeRefusal list_homes(const std::string& file, const std::string& node,
                       const std::function<void(const Home&)>& visit);

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_HOME_LISTING_H_
