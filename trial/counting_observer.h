// Counts beside what an observer is told.
#ifndef QUARROW_TRIAL_COUNTING_OBSERVER_H_
#define QUARROW_TRIAL_COUNTING_OBSERVER_H_

#include <string>

#include "trial/run.h"

namespace Quarrow::Trial {

// Counts what comes of a run, and passes all calls on.
class CountingObserver : public Observer {
 public:
  // `observer` outlives this object.
  CountingObserver(Observer& observer, Delivery::FolderDots dots)
      : observer_(observer), dots_(dots) {}

  void on_result(const std::string& name, const Delivery::Evaluation& evaluation) override;
  void on_not_evaluated(const std::string& name, const std::string& reason) override;
  void on_failure(const SourceFailure& failure) override;
  void on_progress(std::uint64_t bytes) override;

  const RunResult& result() const { return result_; }

 private:
  Observer& observer_;
  const Delivery::FolderDots dots_;
  RunResult result_;
};

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_COUNTING_OBSERVER_H_
