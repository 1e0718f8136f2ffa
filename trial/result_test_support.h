// Results of evaluations for unit tests.
#ifndef QUARROW_TRIAL_RESULT_TEST_SUPPORT_H_
#define QUARROW_TRIAL_RESULT_TEST_SUPPORT_H_

#include <quarrow/evaluation.h>

#include <string>
#include <vector>

namespace Quarrow::Trial {

inline SieveAction action(SieveAction::Type type, const std::string& folder = "") {
  SieveAction made;
  made.type = type;
  made.mailbox(folder);
  return made;
}

inline SieveMatchResult result(const std::vector<SieveAction>& actions) {
  SieveMatchResult made;
  for (const auto& each : actions) made.add_action(each);
  return made;
}

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_RESULT_TEST_SUPPORT_H_
