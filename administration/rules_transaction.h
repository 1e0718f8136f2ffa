// One user's filters on disk, opened for editing by one process at a time.
#ifndef QUARROW_ADMINISTRATION_RULES_TRANSACTION_H_
#define QUARROW_ADMINISTRATION_RULES_TRANSACTION_H_

#include <quarrow/user_stores.h>
#include <zvellparser.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <optional>
#include <string>

#include "administration/refusal.h"
#include "system/descriptor.h"

namespace Quarrow::Administration {

// The paths of the rules document and of the Sieve script of the user `address`.
std::string rules_document(const std::string& address);
std::string rules_script(const std::string& address);

// The filters of one user. From open() on until this object is gone, other transactions for the
// same user wait.
class RulesTransaction {
 public:
  // `address` is not null.
  explicit RulesTransaction(const EmailAddress& address);
  RulesTransaction(const RulesTransaction&) = delete;
  RulesTransaction& operator=(const RulesTransaction&) = delete;

  // Loads the filters, once for each object and before all that follows. A missing folder of the
  // user's is made when `create`; without it they have no filters. A document that can't be
  // understood is refused, so that it is never overwritten by an empty one; one that ends the
  // process is for run_guarded to tell. Files that a commit left behind when it was cut off are put
  // back. Standard error is silent meanwhile.
  Refusal open(bool create);

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

  // Writes document and script. When it refuses, both are as they were.
  Refusal commit();

 private:
  Refusal lock();
  Refusal load();
  std::string script() const;
  Refusal check_script_size() const;
  Refusal replace();
  Refusal explain(int code) const;
  Refusal writing_refusal(const std::string& step) const;
  int writing_error() const;
  bool is_committed() const;
  void remove_drafts() const;

  EmailAddress address_;
  std::string folder_;
  std::string document_;
  std::string script_;
  std::optional<Descriptor> lock_;  // the folder, locked with flock(2)
  boost::shared_ptr<MessageFilters::UserMessageFilters__> filters_;
};

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_TRANSACTION_H_
