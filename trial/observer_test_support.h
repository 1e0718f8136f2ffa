// An observer that writes down what it is told.
#ifndef QUARROW_TRIAL_OBSERVER_TEST_SUPPORT_H_
#define QUARROW_TRIAL_OBSERVER_TEST_SUPPORT_H_

#include <string>
#include <vector>

#include "trial/observer.h"

namespace Quarrow::Trial {

using Calls = std::vector<std::string>;

// Writes down each call.
class RecordingObserver : public Observer {
 public:
  void on_result(const std::string& name, const Delivery::Evaluation& evaluation) override {
    const bool failed = evaluation.result.error != SieveMatchResult::NONE;
    calls_.push_back((failed ? "error " : "result ") + name);
  }
  void on_not_evaluated(const std::string& name, const std::string& reason) override {
    calls_.push_back("not evaluated " + name + ": " + reason);
  }
  void on_failure(const SourceFailure& failure) override {
    calls_.push_back("failure " + failure.object);
  }
  void on_progress(std::uint64_t bytes) override {
    calls_.push_back("progress " + std::to_string(bytes));
  }

  const Calls& calls() const { return calls_; }

 private:
  Calls calls_;
};

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_OBSERVER_TEST_SUPPORT_H_
