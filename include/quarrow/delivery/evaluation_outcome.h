// What the evaluation of one message in the helper process came to.
#ifndef QUARROW_DELIVERY_EVALUATION_OUTCOME_H_
#define QUARROW_DELIVERY_EVALUATION_OUTCOME_H_

#include <quarrow/evaluation.h>

#include <string>

namespace Quarrow::Delivery {

struct Evaluation {
  enum class Outcome {
    done,        // `result` is what SieveMatch::Match gives
    no_script,   // there is no script, or it can't be read
    bad_script,  // there is one, but it is empty or does not compile
    failed       // the helper died, hung, answered nonsense or could not be started
  };

  Outcome outcome = Outcome::failed;
  SieveMatchResult result;
  std::string rule;    // name of the filter that decided; empty when none did or it can't be told
  std::string reason;  // why not done, for a log: "timed out after 10 s"; empty when done
};

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_EVALUATION_OUTCOME_H_
