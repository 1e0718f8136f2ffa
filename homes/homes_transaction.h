// Changes of the table of homes.
#ifndef QUARROW_HOMES_HOMES_TRANSACTION_H_
#define QUARROW_HOMES_HOMES_TRANSACTION_H_

#include <string>

#include "homes/home_database.h"
#include "homes/home_refusal.h"

namespace Quarrow::Homes {

// Changes that are made together, or not at all. While one process has a transaction, others wait
// for theirs. Users are named by their addresses as they are looked up: Delivery::user_spelling().
// After a refusal the transaction is not to be committed.
class HomesTransaction {
 public:
  enum class Start {
    with_a_table,  // there must be one
    with_any       // an empty table is made where there is none
  };

  HomesTransaction(const std::string& file, Start start);

  // Makes a node known whose mail goes by `transport`, in Postfix' form: "lmtp:inet:[10.0.0.1]:24".
  // A node that is known gets another transport.
  HomeRefusal add_node(const std::string& name, const std::string& transport);

  // Forgets a node, where no user lives.
  HomeRefusal remove_node(const std::string& name);

  // Says where a user lives, who may be new. One who is being moved is refused.
  HomeRefusal set_home(const std::string& user, const std::string& node);

  // Says that a known user is being moved, or not any longer: meanwhile their mail waits.
  HomeRefusal set_moving(const std::string& user, bool moving);

  // Says where a known user lives from now on, which ends their being moved.
  HomeRefusal move_home(const std::string& user, const std::string& node);

  // Forgets a user.
  HomeRefusal remove_home(const std::string& user);

  // Makes the changes last. They are on the disk unless it is refused.
  HomeRefusal commit();

 private:
  HomeRefusal find_node(const std::string& name, std::string& id);
  HomeRefusal refusal_unless_changed(const std::string& user) const;

  HomeDatabase database_;
};

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_HOMES_TRANSACTION_H_
