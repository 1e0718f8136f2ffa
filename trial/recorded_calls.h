// What an observer is told, as a text that another process can pass on.
#ifndef QUARROW_TRIAL_RECORDED_CALLS_H_
#define QUARROW_TRIAL_RECORDED_CALLS_H_

#include <cstdint>
#include <string>

#include "system/packet.h"
#include "trial/observer.h"

namespace Quarrow::Trial {

// Writes down each call.
class CallRecorder : public Observer {
 public:
  void on_result(const std::string& name, const Delivery::Evaluation& evaluation) override;
  void on_not_evaluated(const std::string& name, const std::string& reason) override;
  void on_failure(const SourceFailure& failure) override;
  void on_progress(std::uint64_t bytes) override;

  // Whether there was a source that can't be read, in this record.
  bool has_failure() const { return has_failure_; }

  // The record of the calls up to now, which is never empty. The next call begins another one.
  std::string finish();

 private:
  PacketWriter writer_;
  bool has_failure_ = false;
};

// Makes the calls in `record` anew. False, with none made, when the record is not whole.
bool replay(const std::string& record, Observer& observer);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_RECORDED_CALLS_H_
