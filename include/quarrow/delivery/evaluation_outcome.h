// The outcome of evaluating one message in the helper process.
#ifndef QUARROW_DELIVERY_EVALUATION_OUTCOME_H_
#define QUARROW_DELIVERY_EVALUATION_OUTCOME_H_

#include <quarrow/evaluation.h>

#include <string>

namespace Quarrow::Delivery {

struct Evaluation {
  enum class Outcome {
    done,        // `result` is the result of SieveMatch::Match
    no_script,   // there is no script, or it can't be read
    bad_script,  // the script is empty or does not compile
    failed       // the helper died, hung, answered nonsense or could not be started
  };

  Outcome outcome = Outcome::failed;
  SieveMatchResult result;
  std::string rule;    // the filter that decided; empty when no filter did, or it is not known
  std::string reason;  // why it is not done, for a log: "No such file or directory"; else empty
};

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_EVALUATION_OUTCOME_H_
