// One user's own fields on disk, opened for editing by one process at a time.
#ifndef QUARROW_ADMINISTRATION_FIELDS_TRANSACTION_H_
#define QUARROW_ADMINISTRATION_FIELDS_TRANSACTION_H_

#include <quarrow/user_stores.h>
#include <zvellparser.h>

#include <chrono>
#include <functional>
#include <string>

#include "administration/guarded_process.h"
#include "administration/refusal.h"
#include "administration/rules_lock.h"
#include "administration/rules_transaction.h"
#include "administration/user_folder.h"

namespace Quarrow::Administration {

// The catalogue of fields of one user: the system's, and their own, which may be changed. From
// open() on until this object is gone, other transactions for the same user wait.
class FieldsTransaction {
 public:
  // `address` is not null. The system's fields are read from the catalogue at `catalogue`.
  FieldsTransaction(const EmailAddress& address, std::string catalogue,
                    std::chrono::milliseconds patience = lock_patience);

  // Loads the fields, once for each object and before all that follows. A process of root becomes
  // the owner of the user's folder for good. Refuses a catalogue that can't be read, since a change
  // would overwrite it.
  Refusal open();

  // The system's fields, and then the user's own, as customized.
  const std::list<MessageFilters::Field>& fields() const { return fields_.fields; }

  // Adds a field, which a test must be able to name. Refuses a name that is there already,
  // regardless of case.
  Refusal add(const std::string& type, const std::string& name);

  // Removes the user's own field of that name. Refuses when there is none.
  Refusal remove(const std::string& name);

  // Removes all of the user's own fields.
  void clear() { fields_.clear_customized_fields(); }

  // Refuses what commit() refuses before it writes anything.
  Refusal check_commit() const;

  // Writes the user's own fields, synchronously. When it refuses, the file is as it was.
  Refusal commit();

 private:
  Refusal load_own();

  const EmailAddress address_;
  const std::string catalogue_;
  const std::chrono::milliseconds patience_;
  UserFolder folder_;
  RulesLock lock_;
  MessageFilters::UserFields__ fields_{EmailAddress()};
};

// Opens the fields of a user in a process of their own, and gives what comes of `work` there.
GuardedOutcome with_fields_of(const EmailAddress& address, const std::string& catalogue,
                              const std::function<GuardedOutcome(FieldsTransaction&)>& work,
                              std::chrono::milliseconds patience = lock_patience);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_FIELDS_TRANSACTION_H_
