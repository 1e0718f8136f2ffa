// One user's filters on disk, opened for editing by one process at a time.
#ifndef QUARROW_ADMINISTRATION_RULES_TRANSACTION_H_
#define QUARROW_ADMINISTRATION_RULES_TRANSACTION_H_

#include <quarrow/user_stores.h>
#include <zvellparser.h>

#include <boost/shared_ptr.hpp>
#include <chrono>
#include <cstdint>
#include <string>

#include "administration/refusal.h"
#include "administration/rules_lock.h"
#include "administration/user_folder.h"

namespace Quarrow::Administration {

// The paths of the rules document and of the Sieve script of the user `address`.
std::string rules_document(const std::string& address);
std::string rules_script(const std::string& address);

// How long a transaction waits for another one of the same user.
constexpr std::chrono::seconds lock_patience{30};

// What a commit may do to files that hold more than the filters.
struct CommitConsent {
  bool accept_loss = false;     // write over a document of which a part could not be loaded
  bool replace_script = false;  // write over a script that Quarrow did not make
};

// The filters of one user. From open() on until this object is gone, other transactions for the
// same user wait.
class RulesTransaction {
 public:
  // `address` is not null.
  explicit RulesTransaction(const EmailAddress& address,
                            std::chrono::milliseconds patience = lock_patience);
  RulesTransaction(const RulesTransaction&) = delete;
  RulesTransaction& operator=(const RulesTransaction&) = delete;

  // Loads the filters, once for each object and before all that follows. A user without a folder
  // has none, and commits none. A process of root becomes the owner of the folder for good. A
  // document that can't be understood is refused, so that it is never overwritten by an empty one;
  // one that ends the process is for run_guarded to tell. A commit that was cut off is finished or
  // undone.
  Refusal open();

  // The user's filters, which may be edited directly.
  MessageFilters::UserMessageFilters__& filters() { return *filters_; }

  // Refuses when the user has no filter `id`.
  Refusal check_filter(std::int32_t id) const;

  // Refuses when there is no room for a further filter, or no filter `before`, unless that is 0.
  Refusal check_place(std::int32_t before) const;

  // Adds `filter` before the filter `before`, or at the end when that is 0, and gives it a number.
  // Refuses as check_place() does, and when the filter's name, tests or actions are missing or too
  // many. Its tests and actions themselves are not looked at: see rule_check.h.
  Refusal add(const boost::shared_ptr<MessageFilters::Filter__>& filter, std::int32_t before);

  // Removes the filter `id`.
  Refusal remove(std::int32_t id);

  // Refuses when the document holds what could not be loaded, such as a test with a wrong word: the
  // filters are without it, and a commit would lose it. The reason says what it is.
  Refusal check_loss() const;

  // Writes document and script, synchronously. When it refuses, both are as they were, but for a
  // failure to replace the script behind the document, which the reason tells.
  Refusal commit(const CommitConsent& consent = {});

 private:
  Refusal load();
  Refusal read_document(std::string& text) const;
  Refusal check_replaced_script() const;
  Refusal check_texts(const std::string& document, const std::string& script) const;

  EmailAddress address_;
  std::chrono::milliseconds patience_;
  UserFolder folder_;
  RulesLock lock_;
  std::string loss_;              // see document_loss()
  std::string committed_script_;  // of the document as it was loaded; empty without one
  boost::shared_ptr<MessageFilters::UserMessageFilters__> filters_;
};

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_TRANSACTION_H_
