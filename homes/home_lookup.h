// Finding the node that a user lives on.
#ifndef QUARROW_HOMES_HOME_LOOKUP_H_
#define QUARROW_HOMES_HOME_LOOKUP_H_

#include <memory>
#include <string>

#include "delivery/recipient_lookup.h"
#include "homes/home_database.h"

namespace Quarrow::Homes {

struct HomeFound {
  enum class Result {
    found,       // the user lives at a node
    moving,      // the user is being moved: their mail is to wait
    unknown,     // there is no such user
    unavailable  // that can't be told now
  };

  Result result = Result::unavailable;
  std::string user = {};       // found, moving: the address without the extension that it came with
  std::string transport = {};  // found: of the user's node
  std::string reason = {};     // unavailable: why, for a person
};

// How addresses are read: as by the servers of the nodes (Delivery::look_up_recipient).
struct AddressReading {
  std::string delimiters = "+";
  Delivery::AddressCase address_case = Delivery::AddressCase::folded;
};

// Lookups in the table in a file, by one process. It keeps the file open, sees each change at once,
// and opens another file that has taken the file's place.
class HomeLookup {
 public:
  HomeLookup(std::string file, AddressReading reading);

  // Looks up the user with that address. Nobody is unknown while the table can't be read, or while
  // it has no users at all, since their mail would go back to its senders.
  HomeFound look_up(const std::string& address);

 private:
  void open();
  HomeFound look_up_exactly(const std::string& user);
  bool has_users();

  const std::string file_;
  const AddressReading reading_;
  std::unique_ptr<HomeDatabase> database_;  // null before the first lookup, and after a failure
};

// Why the table in `file` can't be read; empty when it can.
std::string fault_of_table(const std::string& file);

// The same for all of the table, which is read from its beginning to its end.
std::string fault_in_table(const std::string& file);

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_HOME_LOOKUP_H_
