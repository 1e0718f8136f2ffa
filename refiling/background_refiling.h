// Rules applied to a user's mail by a process that nobody waits for.
#ifndef QUARROW_REFILING_BACKGROUND_REFILING_H_
#define QUARROW_REFILING_BACKGROUND_REFILING_H_

#include <functional>
#include <string>

#include "administration/refusal.h"
#include "refiling/refiling_plan.h"
#include "trial/parallel_run.h"

namespace Quarrow::Refiling {

// What is to be done.
struct Order {
  enum class Kind {
    plan,  // counts what would become of the messages
    file,  // has them where the rules say
    undo   // brings back what the last run did that is not undone
  };

  Kind kind = Kind::plan;
  Wish wish = {};             // not for an undo, and so the next two
  std::string folder = {};    // of the wish, for a person
  std::string revision = {};  // of the rules
  std::string key = {};       // of the request; may be empty
};

// How many messages are evaluated at a time between two looks for a wish to stop.
constexpr std::size_t stop_batch = 50;

// Does the work in this process, in the folder at `user_folder`. Refuses before anything is done:
// with Kind::try_again while another process moves this user's mail, with nothing_to_undo, and when
// the files can't be written. Otherwise calls `on_begun`, and tells how far it has come, and how it
// ended, by RefilingFiles: see there. `make` gives the evaluator of the user's rules; null when
// they can't be run.
//
// What was decided before a wish to stop is done; an undo does not stop.
Administration::Refusal refile(const std::string& user_folder, const Order& order,
                               const Trial::MakeEvaluator& make,
                               const std::function<void()>& on_begun);

// Has a process of its own do the same (see lasting_process.h), and waits until the work begins or
// is refused. This process is the folder's owner, or root, and has one thread.
Administration::Refusal start_refiling(const std::string& user_folder, const Order& order,
                                       const Trial::MakeEvaluator& make);

}  // namespace Quarrow::Refiling

#endif  // QUARROW_REFILING_BACKGROUND_REFILING_H_
