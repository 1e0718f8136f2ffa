// When and where tests of signing in take place, and who signs in.
#ifndef QUARROW_SIGNING_IN_SIGN_IN_TEST_SUPPORT_H_
#define QUARROW_SIGNING_IN_SIGN_IN_TEST_SUPPORT_H_

#include <string>

#include "signing_in/moment.h"

namespace Quarrow::SigningIn {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

inline const Moment start = Moment(hours(1000));
inline const std::string alice = "alice@example.org";
inline const std::string home = "192.0.2.1";

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_SIGN_IN_TEST_SUPPORT_H_
