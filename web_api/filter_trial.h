// What a filter that is not saved would do with messages that came before.
#ifndef QUARROW_WEB_API_FILTER_TRIAL_H_
#define QUARROW_WEB_API_FILTER_TRIAL_H_

#include <quarrow/filter_list.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

#include "quarrow/delivery/delivery_plan.h"
#include "trial/isolated_runs.h"

namespace Quarrow::WebApi {

// Scripts that name each filter by its number, since several may have one name: the number is what
// an evaluation gives as the rule that decided.
struct TrialScripts {
  std::string now;     // of the present filters
  std::string then;    // with the new one among them
  std::string alone;   // of the new one; empty where it is in no script
  std::string either;  // of the new one and the one that it replaces; empty where neither is in one
};

// The scripts for `then`, where the filter `id` is the new one. `now` is what there is at present.
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
// went, since both lists treat it alike.
class FilterTrial {
 public:
  // `scripts` outlive this object.
  FilterTrial(const TrialScripts& scripts, Delivery::FolderDots dots)
      : scripts_(scripts), dots_(dots) {}

  TrialResult run(const Trial::FoundMessage& message, std::time_t received);

  // The helper that runs them, for more to be asked of it.
  Trial::IsolatedRuns& runs() { return runs_; }

 private:
  const TrialScripts& scripts_;
  const Delivery::FolderDots dots_;
  Trial::IsolatedRuns runs_;
};

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_FILTER_TRIAL_H_
