// A user signs in: the throttle, the check of the password and the session joined.
#ifndef QUARROW_SIGNING_IN_SIGN_IN_H_
#define QUARROW_SIGNING_IN_SIGN_IN_H_

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "delivery/recipient_lookup.h"
#include "signing_in/moment.h"
#include "signing_in/password_check.h"
#include "signing_in/secret_key.h"
#include "signing_in/session_store.h"
#include "signing_in/sign_in_throttle.h"

namespace Quarrow::SigningIn {

struct SignInOutcome {
  enum class Kind {
    go_on,       // begin: the password is to be checked
    signed_in,   // finish: the session has begun
    refused,     // wrong password, or no such user here: it is not said which
    wait,        // too many wrong passwords
    unavailable  // try again later
  };

  Kind kind = Kind::unavailable;
  std::string identifier = {};  // signed_in: of the session
  std::string token = {};       // signed_in: that the session's requests carry
  std::chrono::seconds wait = std::chrono::seconds(0);  // wait: how long
  std::string reason = {};  // for the log alone, and not for the one who tries
};

// Finds the user of an address in its user_spelling().
using UserLookup = std::function<Delivery::RecipientLookup(const std::string& user)>;

struct SignInSettings {
  UserLookup look_up;
  Delivery::AddressCase address_case = Delivery::AddressCase::folded;
  SessionLimits sessions = {};
  ThrottleSettings throttle = {};
};

// An attempt has two steps, so that one process can begin many while their passwords are checked
// elsewhere. Whether the user has a folder here is looked at last: unknown users and wrong
// passwords take the same way.
class SignIn {
 public:
  explicit SignIn(const SignInSettings& settings);

  // Begins an attempt to sign in as `user`, from the IP address `address`. With `go_on`, the
  // password is to be checked for the user in `attempt`, and finish() to be called in any case: the
  // attempt counts as wrong until then. `refused` for a name that no user can have.
  SignInOutcome begin(const std::string& user, const std::string& address, Moment now,
                      Attempt& attempt);

  // Ends it: by what the check of the password came to.
  SignInOutcome finish(const Attempt& attempt, const PasswordVerdict& verdict, Moment now);

  // Begins a session for a user whose identity somebody else has checked: signed_in, refused or
  // unavailable.
  SignInOutcome admit(const std::string& user, Moment now);

  // The token of a session that sessions().find() gave, and whether a text is it.
  std::string token_of(const Session& session) const;
  bool is_token_of(const Session& session, std::string_view token) const;

  SessionStore& sessions() { return sessions_; }

 private:
  const UserLookup look_up_;
  const Delivery::AddressCase address_case_;
  const SecretKey token_key_;
  SessionStore sessions_;
  SignInThrottle throttle_;
};

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_SIGN_IN_H_
