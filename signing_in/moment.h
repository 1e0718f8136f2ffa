// The clock of sessions and throttles.
#ifndef QUARROW_SIGNING_IN_MOMENT_H_
#define QUARROW_SIGNING_IN_MOMENT_H_

#include <chrono>

namespace Quarrow::SigningIn {

// Of a clock that nobody sets: a session must not live longer because the date was put back.
using Moment = std::chrono::steady_clock::time_point;

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_MOMENT_H_
