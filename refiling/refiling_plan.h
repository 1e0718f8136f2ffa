// Where a user's rules would have messages that were filed before.
#ifndef QUARROW_REFILING_REFILING_PLAN_H_
#define QUARROW_REFILING_REFILING_PLAN_H_

#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "quarrow/delivery/folder_dots.h"
#include "refiling/refiler.h"
#include "trial/mail_sources.h"
#include "trial/observer.h"

namespace Quarrow::Refiling {

// What is asked for. Folders are those of the Maildir, as maildir_folder() has them.
struct Wish {
  std::string folder;                     // the messages of which are looked at; "" is the inbox
  std::optional<std::time_t> since;       // only those received then and later
  std::optional<std::string> rule;        // only those that the rule of this name decides about
  std::optional<std::string> discard_to;  // takes what rules would discard or reject
  Delivery::FolderDots dots = Delivery::FolderDots::inbox;
};

// What becomes of a message: it moves, or is copied, or why it stays.
enum class Fate { move, copy, in_place, no_rule, discarded, rejected, not_evaluated };

struct PlannedMessage {
  std::string file;  // below the folder, such as "cur/1777896000.M1P2Q3.mx:2,S"
  std::string rule;  // the name of the rule that decided, where it is known
  Fate fate = Fate::no_rule;
  std::vector<std::string> folders;  // of the Maildir, where it moves or is copied to
  std::string note;                  // why it was not evaluated, or not filed as the rules say
};

// How many messages there are of each rule, fate and folder, sorted. A message that goes to several
// folders is counted for each; a message that stays, for the folder "".
using PlanSummary = std::map<std::tuple<std::string, Fate, std::string>, std::uint64_t>;

// Counts one more message.
void count_in(PlanSummary& counts, const PlannedMessage& message);

// What is to be done for a message; nothing for one that stays.
std::optional<Refiled> task_of(const PlannedMessage& message);

class RefilingPlan {
 public:
  const std::vector<PlannedMessage>& messages() const { return messages_; }
  PlanSummary summary() const;

  void add(PlannedMessage message) { messages_.push_back(std::move(message)); }

 private:
  std::vector<PlannedMessage> messages_;
};

// The messages in the folder of `wish` below `maildir` that it asks for. `failure` says why they
// can't be listed.
std::vector<Trial::MailSource> sources_for(const std::string& maildir, const Wish& wish,
                                           std::optional<Trial::SourceFailure>& failure);

// Is told of each message of a plan while it is made; from then on the message may be moved.
using OnPlanned = std::function<void(const PlannedMessage&)>;

// Runs the user's rules over sources: Trial::run().
using RunRules = std::function<void(const std::vector<Trial::MailSource>&, Trial::Observer&)>;

// The plan for `sources`, from sources_for(). A message goes where delivery would file it, with
// these differences: a message that no rule decides about stays where it is, and so does one that
// can't be evaluated, or that the rules discard or reject, unless `wish` has a folder for that.
// When `wish` names a rule, the others' messages are left out. A file that got another name
// meanwhile, since a client read the message, is looked for once more; a message that is gone is
// left out.
RefilingPlan plan_refiling(const std::string& maildir, const Wish& wish,
                           const std::vector<Trial::MailSource>& sources, const RunRules& run,
                           const OnPlanned& on_planned);

}  // namespace Quarrow::Refiling

#endif  // QUARROW_REFILING_REFILING_PLAN_H_
