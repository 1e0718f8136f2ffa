// Homes of many users at once.
#ifndef QUARROW_HOMES_HOME_IMPORT_H_
#define QUARROW_HOMES_HOME_IMPORT_H_

#include <cstddef>
#include <functional>
#include <istream>
#include <string>

#include "homes/home_refusal.h"
#include "homes/homes_transaction.h"

namespace Quarrow::Homes {

// The address as users are looked up by it, in the place of the text; or why it is none.
using UserReader = std::function<std::string(std::string& user)>;

// Says where the users live of whom each line has a user and a node, with blanks between; lines
// without a text are left out. The object of a refusal is the line. `count` is how many users that
// was for.
HomeRefusal import_homes(HomesTransaction& transaction, std::istream& lines,
                         const UserReader& read_user, std::size_t& count);

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_HOME_IMPORT_H_
