// The tally, and the sources that can't be read.
#include "trial/counting_observer.h"

#include "quarrow/delivery/delivery_plan.h"

namespace Quarrow::Trial {

void CountingObserver::on_result(const std::string& name, const Delivery::Evaluation& evaluation) {
  result_.tally.add(Delivery::as_delivered(evaluation.result, dots_));
  observer_.on_result(name, evaluation);
}

void CountingObserver::on_not_evaluated(const std::string& name, const std::string& reason) {
  result_.tally.add_not_evaluated();
  observer_.on_not_evaluated(name, reason);
}

void CountingObserver::on_failure(const SourceFailure& failure) {
  ++result_.failed_sources;
  observer_.on_failure(failure);
}

void CountingObserver::on_progress(std::uint64_t bytes) { observer_.on_progress(bytes); }

}  // namespace Quarrow::Trial
