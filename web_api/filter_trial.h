// What a filter that is not saved would do with messages that came before.
#ifndef QUARROW_WEB_API_FILTER_TRIAL_H_
#define QUARROW_WEB_API_FILTER_TRIAL_H_

#include <quarrow/filter_list.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "quarrow/delivery/delivery_plan.h"
#include "trial/isolated_runs.h"

namespace Quarrow::WebApi {

// Filters as they are, and as they would be. Their scripts name each filter by its number, since
// several may have one name: the number is what an evaluation gives as the rule that decided.
struct TrialScripts {
  std::string now;        // of the present filters
  std::string then;       // with the new one among them
  std::string either;     // of the new one, and then of the one that it replaces, which is
                          // numbered 0 here; empty where neither is in a script
  std::int32_t id = 0;    // of the new one
  bool is_later = false;  // it is tried later than the one that it replaces
  std::vector<std::int32_t> before;  // the filters that are tried before it
};

// The scripts for `then`, where the filter `id` is the new one. `now` is what there is at present.
// The filters beside that one are the same in both, and in the same order.
TrialScripts trial_scripts(const boost::shared_ptr<MessageFilters::FilterList__>& now,
                           const boost::shared_ptr<MessageFilters::FilterList__>& then,
                           std::int32_t id);

// What becomes of a message.
struct TrialResult {
  bool is_caught = false;               // the new filter's tests match it
  std::optional<std::int32_t> decider;  // the filter that decides then
  bool has_failed = false;              // an evaluation of it failed
  bool is_changed = false;              // it goes elsewhere than now
  Delivery::Plan now;                   // of a message that is caught or changed
  Delivery::Plan then;
};

// Tries the filter over messages. Most messages are none of its business, and run through `either`
// alone: it costs little more than reading them. A message that this does not match goes where it
// went, since both lists treat it alike. Of any other one, the present filters tell nearly always
// what those to come would do.
class FilterTrial {
 public:
  // `scripts` outlive this object.
  FilterTrial(const TrialScripts& scripts, Delivery::FolderDots dots)
      : scripts_(scripts), dots_(dots) {}

  TrialResult run(const Trial::FoundMessage& message, std::time_t received);

  // The helper that runs them, for more to be asked of it.
  Trial::IsolatedRuns& runs() { return runs_; }

 private:
  // What then comes of a message; nothing where the whole script must tell.
  std::optional<Delivery::Evaluation> foretold(const Delivery::Evaluation& either,
                                               const Delivery::Evaluation& now) const;

  const TrialScripts& scripts_;
  const Delivery::FolderDots dots_;
  Trial::IsolatedRuns runs_;
};

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_FILTER_TRIAL_H_
