// One user's filters on disk, opened for editing by one process at a time.
#ifndef QUARROW_ADMINISTRATION_RULES_TRANSACTION_H_
#define QUARROW_ADMINISTRATION_RULES_TRANSACTION_H_

#include <quarrow/user_stores.h>
#include <sys/types.h>
#include <zvellparser.h>

#include <boost/shared_ptr.hpp>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "administration/refusal.h"
#include "administration/rules_difference.h"
#include "administration/rules_history.h"
#include "administration/rules_lock.h"
#include "administration/user_folder.h"

namespace Quarrow::Administration {

struct RulesTexts;

// The paths of the rules document and of the Sieve script of the user `address`.
std::string rules_document(const std::string& address);
std::string rules_script(const std::string& address);

// How long a transaction waits for another one of the same user.
constexpr std::chrono::seconds lock_patience{30};

// The terms of a commit: what it may do to files that hold more than the filters, the rules that it
// is to change, and what is kept of it.
struct CommitConsent {
  bool accept_loss = false;      // write over a document of which a part could not be loaded
  bool replace_script = false;   // write over a script that Quarrow did not make
  std::string if_revision = {};  // change the rules of this revision only; empty: of any
  std::string author = {};       // who makes the change; empty: the person who runs the process
  std::size_t history_states = default_history_states;  // the most that the history keeps
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

  // The revision of the rules on the disk: a user without rules has that of an empty list.
  std::string revision() const;

  // Refuses as outdated when `expected` is not empty and not the revision of the rules on
  // the disk. The reason says in words what differs, where the history still holds `expected`.
  Refusal check_revision(const std::string& expected) const;

  // Puts the states of the rules into `history`, of which the last one is that on the disk. When it
  // refuses, those are in it that can be read.
  Refusal read_history(RulesHistory& history) const;

  // Puts the filters of a state into `list`. Refuses a state that can't be loaded.
  Refusal load_state(const RulesState& state,
                     boost::shared_ptr<MessageFilters::FilterList__>& list) const;

  // The refusal of a revision that is in no history.
  Refusal no_such_revision(const std::string& revision) const;

  // Put the filters of another state in the place of filters(): of the one before the last change
  // that was not undone, the one that was undone last, and the newest one of that revision.
  Refusal undo();
  Refusal redo();
  Refusal restore(const std::string& revision);

  // What filters() changes of the rules on the disk.
  std::vector<RulesDifference> changes() const;

  // Refuses what commit() would, but for what only shows when files are written.
  Refusal check_commit(const CommitConsent& consent = {}) const;

  // Writes document, script and history, synchronously. When it refuses, they are as they were, but
  // for a failure to replace script or history behind the document, which the reason tells. Rules
  // that are as they were leave no trace in the history; a history that is damaged, or can't be
  // replaced, does not keep rules from being changed: see remark().
  Refusal commit(const CommitConsent& consent = {});

  // What went wrong in commit() and did not keep it from being done.
  const Refusal& remark() const { return remark_; }

 private:
  Refusal load();
  Refusal read_document(std::string& text) const;
  Refusal check_replaced_script() const;
  Refusal make_texts(const CommitConsent& consent, RulesTexts& texts) const;
  Refusal check_texts(const std::string& document, const std::string& script) const;
  Refusal take_state(const RulesState& state, Origin origin);
  std::string history_with(const RulesState& state, std::size_t most_states);

  EmailAddress address_;
  std::chrono::milliseconds patience_;
  UserFolder folder_;
  RulesLock lock_;
  const uid_t user_;              // the real one, before the rights of the owner are taken on
  std::string document_;          // on the disk; an empty list's when there is none
  std::string loss_;              // see document_loss()
  std::string committed_script_;  // of the document as it was loaded; empty without one
  boost::shared_ptr<MessageFilters::UserMessageFilters__> filters_;
  Origin origin_ = Origin::change;  // of filters_
  Refusal remark_;
};

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_TRANSACTION_H_
