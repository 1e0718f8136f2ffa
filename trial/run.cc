// One source after the other.
#include "trial/run.h"

#include "trial/batch_evaluation.h"
#include "trial/counting_observer.h"

namespace Quarrow::Trial {

RunResult run(const std::vector<MailSource>& sources, MessageEvaluator& evaluator,
              Observer& observer, const RunSettings& settings) {
  CountingObserver counting(observer, settings.dots);
  BatchEvaluation evaluation(sources, evaluator, counting, settings.received);
  evaluation.evaluate({0, sources.size()});
  return counting.result();
}

}  // namespace Quarrow::Trial
