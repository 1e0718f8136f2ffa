// Whether a password is a user's: what a check of it comes to.
#ifndef QUARROW_SIGNING_IN_PASSWORD_CHECK_H_
#define QUARROW_SIGNING_IN_PASSWORD_CHECK_H_

#include <functional>
#include <string>

namespace Quarrow::SigningIn {

struct PasswordVerdict {
  enum class Result {
    right,
    wrong,       // or there is no such user
    unavailable  // that can't be told now
  };

  Result result = Result::unavailable;
  std::string reason = {};  // unavailable: why, for the log; it never holds the password
};

// Finds out whether the password is the user's. It may take long.
using PasswordCheck =
    std::function<PasswordVerdict(const std::string& user, const std::string& password)>;

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_PASSWORD_CHECK_H_
