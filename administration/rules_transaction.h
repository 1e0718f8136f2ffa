// One user's filters on disk, opened for editing by one process at a time.
#ifndef QUARROW_ADMINISTRATION_RULES_TRANSACTION_H_
#define QUARROW_ADMINISTRATION_RULES_TRANSACTION_H_

#include <quarrow/user_stores.h>
#include <zvellparser.h>

#include <boost/shared_ptr.hpp>
#include <string>

namespace Quarrow::Administration {

// The paths of the rules document and of the Sieve script of the user `address`.
std::string rules_document(const std::string& address);
std::string rules_script(const std::string& address);

// The filters of one user. From open() on until this object is gone, other commands for the same
// user wait.
//
// Both operations give 0, or complain and give the exit status.
class RulesTransaction {
 public:
  // `address` is not null.
  explicit RulesTransaction(const EmailAddress& address);
  ~RulesTransaction();
  RulesTransaction(const RulesTransaction&) = delete;
  RulesTransaction& operator=(const RulesTransaction&) = delete;

  // Loads the filters. A missing folder of the user's is made when `create`; without it he has no
  // filters. A document that can't be understood is refused, so that it is never overwritten by an
  // empty one; one that ends the process is for run_guarded to tell.
  int open(bool create);

  // Writes document and script. On failure both are as they were.
  int commit();

  MessageFilters::UserMessageFilters__& filters() { return *filters_; }

 private:
  int lock();
  int load();
  int check_script_size();
  int refuse_commit(int code);
  bool is_committed();

  EmailAddress address_;
  std::string folder_;
  std::string document_;
  std::string script_;
  int lock_ = -1;  // the folder, locked with flock(2)
  boost::shared_ptr<MessageFilters::UserMessageFilters__> filters_;
};

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_TRANSACTION_H_
