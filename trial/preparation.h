// Getting a process ready for its only evaluation.
#ifndef QUARROW_TRIAL_PREPARATION_H_
#define QUARROW_TRIAL_PREPARATION_H_

#include <vector>

#include "trial/mail_sources.h"

namespace Quarrow::Trial {

// For a process that evaluates the messages of `sources` and then ends; call it before
// isolated_evaluator(). When there is only one message, nothing is loaded that this one can't need,
// which would take most of such a process's time. Changes nothing for several messages, for a
// stream, which can't be looked at ahead, and for a source that can't be read.
void prepare_for(const std::vector<MailSource>& sources);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_PREPARATION_H_
