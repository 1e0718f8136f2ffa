// Why the table of homes can't be read or changed as it was asked for.
#ifndef QUARROW_HOMES_HOME_REFUSAL_H_
#define QUARROW_HOMES_HOME_REFUSAL_H_

#include <string>

namespace Quarrow::Homes {

// The thing that is refused, and the reason.
struct HomeRefusal {
  enum class Kind {
    none,           // nothing is refused
    unknown_user,   // the table does not have the user
    wrong,          // what was asked for does not go, whoever asks again
    missing,        // there is no table
    not_permitted,  // the rights are missing
    try_again,      // another process has the table for itself
    no_room,        // the disk is full
    unusable        // the file is no table of homes, or can't be read or written
  };

  Kind kind = Kind::none;
  std::string object = {};  // a user, a node, a line, or the file
  std::string reason = {};  // for a person

  explicit operator bool() const { return kind != Kind::none; }
};

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_HOME_REFUSAL_H_
