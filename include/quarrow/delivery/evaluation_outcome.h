// The outcome of evaluating one message in the helper process.
#ifndef QUARROW_DELIVERY_EVALUATION_OUTCOME_H_
#define QUARROW_DELIVERY_EVALUATION_OUTCOME_H_

#include <quarrow/evaluation.h>

#include <optional>
#include <string>

namespace Quarrow::Delivery {

struct Evaluation {
  enum class Outcome {
    done,        // `result` is the result of SieveMatch::Match
    no_script,   // there is no script
    bad_script,  // the script can't be read, is no regular file, is empty or does not compile
    failed       // the helper died, hung, answered nonsense or could not be started
  };

  Outcome outcome = Outcome::failed;
  SieveMatchResult result;
  std::string rule;  // the filter that decided; empty when no filter did, or it is not known
  // For a log: why it is not done ("No such file or directory"), or the name of the header whose
  // addresses could not be read; else empty.
  std::string reason;
};

// What rules see of a header.
struct HeaderValue {
  bool is_known = false;            // false: the helper gave no answer
  std::optional<std::string> text;  // in UTF-8; none when the message has no such header
  std::string reason;               // why it is not known; else empty
};

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_EVALUATION_OUTCOME_H_
