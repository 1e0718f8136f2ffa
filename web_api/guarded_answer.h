// Answers that are made in a process of their own, and how they come from there.
#ifndef QUARROW_WEB_API_GUARDED_ANSWER_H_
#define QUARROW_WEB_API_GUARDED_ANSWER_H_

#include "administration/guarded_process.h"
#include "http/message.h"

namespace Quarrow::WebApi {

// The result of work that has come to an answer.
Administration::GuardedOutcome guarded(const Http::Response& response);

// That answer again, or the problem that a refusal is.
Http::Response answer_of(const Administration::GuardedOutcome& outcome);

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_GUARDED_ANSWER_H_
